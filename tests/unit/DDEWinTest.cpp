// Opening a page in the browser over DDE, against a browser stand-in served from a thread of this process.
#include "DDE.h"
#include "DDE_Win.h"

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "TestSupport.h"

using namespace Orn;

namespace {

// A DDE server named "IExplore" that takes any topic, on a thread with its own message loop. It records, in order,
// each "connect TOPIC", "request TOPIC|ITEM" and "disconnect", and refuses the one event it is told to (a
// "connect TOPIC" or "request TOPIC").
class CBrowserStandIn {
public:
    explicit CBrowserStandIn(std::string refuse) : mRefuse(std::move(refuse))
    {
        cCurrent = this;
        mReady.Reset(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
        mThread.Reset(::CreateThread(nullptr, 0, &ThreadMain, this, 0, &mThreadId));
        ::WaitForSingleObject(mReady.Get(), 10000);
    }
    ~CBrowserStandIn()
    {
        ::PostThreadMessageA(mThreadId, WM_QUIT, 0, 0);
        ::WaitForSingleObject(mThread.Get(), 10000);
        cCurrent = nullptr;
    }
    std::vector<std::string> Seen()
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mSeen;
    }

private:
    static DWORD WINAPI ThreadMain(void* self) { return static_cast<CBrowserStandIn*>(self)->Serve(); }

    DWORD Serve()
    {
        // Disconnects are the notifications it must see.
        ::DdeInitializeA(&mInstance, &Callback,
                         APPCLASS_STANDARD | CBF_SKIP_CONNECT_CONFIRMS | CBF_SKIP_REGISTRATIONS |
                             CBF_SKIP_UNREGISTRATIONS,
                         0);
        HSZ service = ::DdeCreateStringHandleA(mInstance, "IExplore", CP_WINANSI);
        ::DdeNameService(mInstance, service, nullptr, DNS_REGISTER);
        ::SetEvent(mReady.Get());
        MSG msg;
        while (::GetMessageA(&msg, nullptr, 0, 0) > 0)
            ::DispatchMessageA(&msg);
        ::DdeNameService(mInstance, service, nullptr, DNS_UNREGISTER);
        ::DdeFreeStringHandle(mInstance, service);
        ::DdeUninitialize(mInstance);
        return 0;
    }

    std::string Text(HSZ hsz) const
    {
        char buf[512] = {0};
        ::DdeQueryStringA(mInstance, hsz, buf, sizeof buf, CP_WINANSI);
        return buf;
    }

    static HDDEDATA CALLBACK Callback(UINT type, UINT, HCONV, HSZ topic, HSZ item, HDDEDATA, ULONG_PTR, ULONG_PTR)
    {
        CBrowserStandIn& self = *cCurrent;
        if (type != XTYP_CONNECT && type != XTYP_REQUEST && type != XTYP_DISCONNECT)
            return nullptr;
        std::string event = type == XTYP_DISCONNECT ? "disconnect"
                                                    : (type == XTYP_CONNECT ? "connect " : "request ") + self.Text(topic);
        {
            std::lock_guard<std::mutex> lock(self.mMutex);
            self.mSeen.push_back(type == XTYP_REQUEST ? event + "|" + self.Text(item) : event);
        }
        if (event == self.mRefuse || type == XTYP_DISCONNECT)
            return nullptr;
        if (type == XTYP_CONNECT)
            return reinterpret_cast<HDDEDATA>(static_cast<ULONG_PTR>(TRUE));
        static const char answer[] = "1";
        auto* bytes = reinterpret_cast<LPBYTE>(const_cast<char*>(answer));
        return ::DdeCreateDataHandle(self.mInstance, bytes, sizeof answer, 0, item, CF_TEXT, 0);
    }

    static CBrowserStandIn* cCurrent;
    std::string mRefuse;
    DWORD mInstance = 0;
    DWORD mThreadId = 0;
    CKernelHandle mReady;
    CKernelHandle mThread;
    std::mutex mMutex;
    std::vector<std::string> mSeen;
};

CBrowserStandIn* CBrowserStandIn::cCurrent = nullptr;

} // namespace

TEST(DDEWin, OpenURLAsksToOpenThenToActivate)
{
    const char* const cNoStringHandle = "(mHandle = ::DdeCreateStringHandleA(DDELib.GetInstance(),str,1004)) != 0";
    // The item adds 11 characters to the URL; a string handle holds at most 255.
    const std::string longest = "http://example.test/" + std::string(224, 'a');
    const std::string open = "connect WWW_OpenURL", opened = "request WWW_OpenURL|\"http://example.test/\",,7,0,,,,";
    const std::string activate = "connect WWW_Activate", activated = "request WWW_Activate|7,0";
    struct Row {
        const char* name;
        bool serve;
        const char* refuse;
        std::string url;
        bool opened;
        std::vector<std::string> seen;
        std::vector<std::string> asserts;
    };
    const Row rows[] = {
        {"accepted", true, "", "http://example.test/", true,
         {open, opened, "disconnect", activate, activated, "disconnect"}, {}},
        {"opening refused: no activation", true, "request WWW_OpenURL", "http://example.test/", false,
         {open, opened, "disconnect"}, {}},
        {"no activation topic", true, "connect WWW_Activate", "http://example.test/", false,
         {open, opened, "disconnect", activate}, {}},
        {"activation refused", true, "request WWW_Activate", "http://example.test/", false,
         {open, opened, "disconnect", activate, activated, "disconnect"}, {}},
        {"the longest item", true, "", longest, true,
         {open, "request WWW_OpenURL|\"" + longest + "\",,7,0,,,,", "disconnect", activate, activated, "disconnect"},
         {}},
        {"an item too long for a string handle", true, "", longest + "a", false, {open, "disconnect"},
         {cNoStringHandle}},
        {"a quote would break the item", true, "", "http://example.test/\"x", false, {}, {}},
        {"no browser", false, "", "http://example.test/", false, {}, {}},
    };
    for (const Row& row : rows) {
        OrnTest::AssertRecorder rec;
        std::unique_ptr<CBrowserStandIn> browser(row.serve ? new CBrowserStandIn(row.refuse) : nullptr);
        EXPECT_EQ(DDEOpenURL(row.url.c_str(), 7), row.opened) << row.name;
        if (browser) {
            EXPECT_EQ(browser->Seen(), row.seen) << row.name;
        }
        EXPECT_EQ(rec.Asserts(), row.asserts) << row.name;
    }
}
