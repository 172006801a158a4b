// The DDE client and opening a page in the browser through it.
#include "DDE_Win.h"

#include "DDE.h"
#include "Debug.h"
#include "String.h"

namespace Orn {

namespace {

const char* const cBrowserService = "IExplore";
const DWord cRequestTimeoutMs = 10000;

} // namespace

CDDELib::CDDELib()
{
    if (::DdeInitializeA(&mInstance, &Callback, APPCLASS_STANDARD | APPCMD_CLIENTONLY | CBF_SKIP_ALLNOTIFICATIONS,
                         0) != DMLERR_NO_ERROR)
        ORN_ASSERT_MSG("::DdeInitializeA(&cInstance,Callback,0x00000000L|0x00000010L|0x003c0000,0) == 0");
}

CDDELib::~CDDELib()
{
    if (mInstance)
        ::DdeUninitialize(mInstance);
}

CDDELib& CDDELib::Get()
{
    static CDDELib cLib;
    return cLib;
}

// A client that skips every notification has nothing to answer.
HDDEDATA CALLBACK CDDELib::Callback(UINT, UINT, HCONV, HSZ, HSZ, HDDEDATA, ULONG_PTR, ULONG_PTR) { return nullptr; }

CDDEString::CDDEString(const char* str)
    : mHandle(::DdeCreateStringHandleA(CDDELib::Get().GetInstance(), str, CP_WINANSI))
{
    if (!mHandle.IsValid())
        ORN_ASSERT_MSG("(mHandle = ::DdeCreateStringHandleA(DDELib.GetInstance(),str,1004)) != 0");
}

CDDEConversation::CDDEConversation(const char* service, const char* topic)
{
    CDDEString serviceName(service);
    CDDEString topicName(topic);
    mConversation.Reset(::DdeConnect(CDDELib::Get().GetInstance(), serviceName.Get(), topicName.Get(), nullptr));
}

bool CDDEConversation::Request(const char* item, DWord timeoutMs, DWord& result)
{
    result = 0;
    ORN_ASSERT(item);
    ORN_ASSERT(IsValid());
    if (!item || !IsValid())
        return false;
    CDDEString itemName(item);
    if (!itemName.IsValid())
        return false;
    DWORD transactionResult = 0;
    CHandle<DDEDataTraits> data(::DdeClientTransaction(nullptr, 0, mConversation.Get(), itemName.Get(), CF_TEXT,
                                                       XTYP_REQUEST, timeoutMs, &transactionResult));
    result = transactionResult;
    return data.IsValid();
}

void CDDEConversation::Disconnect()
{
    if (mConversation.IsValid() && !mConversation.Reset())
        ORN_ASSERT_MSG("::DdeDisconnect(mConversation)");
}

bool DDEOpenURL(const char* url, Int windowId)
{
    ORN_ASSERT(url);
    // Refused for safety, though the browser would take it: a quote would end the URL's quoted argument, and
    // the rest would reach the browser as arguments of its own.
    if (!url || Str::Find(url, '"') >= 0)
        return false;
    CString item;
    item.Format("\"%s\",,%d,0,,,,", url, windowId);
    DWord result = 0;
    {
        CDDEConversation open(cBrowserService, "WWW_OpenURL");
        if (!open.IsValid() || !open.Request(item, cRequestTimeoutMs, result))
            return false;
    }
    CDDEConversation activate(cBrowserService, "WWW_Activate");
    if (!activate.IsValid())
        return false;
    item.Format("%d,0", windowId);
    return activate.Request(item, cRequestTimeoutMs, result);
}

} // namespace Orn
