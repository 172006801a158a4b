// The DDE client: the process's one DDEML instance, and owned string handles and conversations.
#pragma once

#include <windows.h>
#include <ddeml.h>

#include "Handle_Win.h"
#include "Platform.h"

namespace Orn {

// The process's one client instance, made on first use (on the thread that then uses it) and ended at exit.
class CDDELib {
public:
    static CDDELib& Get();
    DWORD GetInstance() const { return mInstance; }

private:
    CDDELib();
    ~CDDELib();
    static HDDEDATA CALLBACK Callback(UINT type, UINT format, HCONV conv, HSZ hsz1, HSZ hsz2, HDDEDATA data,
                                      ULONG_PTR data1, ULONG_PTR data2);

    DWORD mInstance = 0;
};

struct DDEStringTraits {
    using Type = HSZ;
    static Type Invalid() { return nullptr; }
    static bool Close(Type h) { return ::DdeFreeStringHandle(CDDELib::Get().GetInstance(), h) != 0; }
};

struct DDEConversationTraits {
    using Type = HCONV;
    static Type Invalid() { return nullptr; }
    static bool Close(Type h) { return ::DdeDisconnect(h) != 0; }
};

struct DDEDataTraits {
    using Type = HDDEDATA;
    static Type Invalid() { return nullptr; }
    static bool Close(Type h) { return ::DdeFreeDataHandle(h) != 0; }
};

// A string handle in the Windows ANSI code page.
class CDDEString {
public:
    // A text the system cannot take (more than 255 characters) is an assertion and leaves the string invalid.
    explicit CDDEString(const char* str);
    bool IsValid() const { return mHandle.IsValid(); }
    HSZ Get() const { return mHandle.Get(); }

private:
    CHandle<DDEStringTraits> mHandle;
};

// A conversation with a service on a topic; valid when the service answered.
class CDDEConversation {
public:
    CDDEConversation(const char* service, const char* topic);
    ~CDDEConversation() { Disconnect(); }
    CDDEConversation(const CDDEConversation&) = delete;
    CDDEConversation& operator=(const CDDEConversation&) = delete;

    bool IsValid() const { return mConversation.IsValid(); }
    // Asks for item as text, waiting up to timeoutMs; true when data came back. result: the transaction's
    // result word.
    bool Request(const char* item, DWord timeoutMs, DWord& result);
    void Disconnect();

private:
    CHandle<DDEConversationTraits> mConversation;
};

} // namespace Orn
