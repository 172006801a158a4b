// Opening a page in the browser over DDE, against a browser stand-in served from a thread of this process.
#include "DDE.h"
#include "DDE_Win.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "TestSupport.h"

using namespace Orn;

namespace {

// A DDE server named "IExplore" with the topics "WWW_OpenURL" and "WWW_Activate", on a thread with its own
// message loop. It records each request as "topic|item" and can refuse the opening request.
class CBrowserStandIn {
public:
    explicit CBrowserStandIn(bool refuseOpen) : mRefuseOpen(refuseOpen)
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
        ::DdeInitializeA(&mInstance, &Callback, APPCLASS_STANDARD | CBF_SKIP_ALLNOTIFICATIONS, 0);
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
        std::string topicText = self.Text(topic);
        bool known = topicText == "WWW_OpenURL" || topicText == "WWW_Activate";
        if (type == XTYP_CONNECT)
            return reinterpret_cast<HDDEDATA>(static_cast<ULONG_PTR>(known));
        if (type != XTYP_REQUEST)
            return nullptr;
        {
            std::lock_guard<std::mutex> lock(self.mMutex);
            self.mSeen.push_back(topicText + "|" + self.Text(item));
        }
        if (self.mRefuseOpen && topicText == "WWW_OpenURL")
            return nullptr;
        static const char answer[] = "1";
        auto* bytes = reinterpret_cast<LPBYTE>(const_cast<char*>(answer));
        return ::DdeCreateDataHandle(self.mInstance, bytes, sizeof answer, 0, item, CF_TEXT, 0);
    }

    static CBrowserStandIn* cCurrent;
    bool mRefuseOpen;
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
    const std::string longURL = "http://example.test/" + std::string(250, 'a');
    struct Row {
        const char* name;
        bool serve;
        bool refuseOpen;
        std::string url;
        bool opened;
        std::vector<std::string> seen;
    };
    const Row rows[] = {
        {"accepted", true, false, "http://example.test/p?a=1&b=2", true,
         {"WWW_OpenURL|\"http://example.test/p?a=1&b=2\",,7,0,,,,", "WWW_Activate|7,0"}},
        {"opening refused: no activation", true, true, "http://example.test/", false,
         {"WWW_OpenURL|\"http://example.test/\",,7,0,,,,"}},
        {"a quote would break the item", true, false, "http://example.test/\"x", false, {}},
        {"too long for a DDE string", true, false, longURL, false, {}},
        {"no browser", false, false, "http://example.test/", false, {}},
    };
    for (const Row& row : rows) {
        OrnTest::AssertRecorder rec;
        std::unique_ptr<CBrowserStandIn> browser(row.serve ? new CBrowserStandIn(row.refuseOpen) : nullptr);
        EXPECT_EQ(DDEOpenURL(row.url.c_str(), 7), row.opened) << row.name;
        if (browser) {
            EXPECT_EQ(browser->Seen(), row.seen) << row.name;
        }
        EXPECT_NO_ASSERTS(rec) << row.name;
    }
}
