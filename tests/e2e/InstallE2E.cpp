// The install command end to end: a reply fetched over https installs the test installer that https_servers.py
// serves; every way its server can go wrong; Cancel in the progress window; a run without windows. A reply that
// is neither signed nor fetched over https may not install at all.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

#include "E2ESupport.h"
#include "HttpsServers.h"

using namespace E2E;

namespace {

const char cInstaller[] = "test_installer.exe";

// The size and SHA-256 of the test installer, which the server serves from beside this program.
std::pair<long long, std::string> Installer()
{
    std::string digest = PortFromEnvironment("ORN_FILE_DIGESTS", cInstaller);
    EXPECT_NE(digest, "") << "run through ctest, which starts the servers";
    return {std::atoll(digest.c_str()), digest.substr(digest.find(':') + 1)};
}

// Where the test installer writes the arguments it was given.
std::string InstalledLog() { return TempDir() + "uw-installed.txt"; }

// The download files in the temporary folder: counted, or deleted (waiting for an installer that runs from one).
int DownloadFiles(bool remove)
{
    int count = 0;
    WIN32_FIND_DATAA found;
    HANDLE find = ::FindFirstFileA((TempDir() + "NimbraUpdate-*.exe").c_str(), &found);
    for (BOOL more = find != INVALID_HANDLE_VALUE; more; more = ::FindNextFileA(find, &found), ++count) {
        for (int i = 0; remove && i < 100 && !::DeleteFileA((TempDir() + found.cFileName).c_str()); ++i)
            ::Sleep(50);
    }
    if (find != INVALID_HANDLE_VALUE)
        ::FindClose(find);
    return count;
}

// Waits for the test installer's "installed" box and closes it; whether it showed.
bool CloseInstallerBox()
{
    HWND box = nullptr;
    for (int i = 0; i < 200 && !(box = ::FindWindowA(nullptr, "Nimbra test installer")); ++i)
        ::Sleep(50);
    if (box)
        ::PostMessageA(box, WM_CLOSE, 0, 0);
    return box != nullptr;
}

// Asks https_servers.py for a screenshot of the display (bin/progress-window.png) and waits for it.
bool SaveScreenshot()
{
    const std::string request = BinDir() + "\\progress-window.request";
    HANDLE file = ::CreateFileA(request.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ::CloseHandle(file);
    for (int i = 0; i < 200 && FileExists(request); ++i)
        ::Sleep(100);
    return file != INVALID_HANDLE_VALUE && !FileExists(request);
}

class InstallE2E : public CleanRunTest {
protected:
    void SetUp() override { Reset(); }
    void TearDown() override
    {
        DownloadFiles(true);
        CleanRunTest::TearDown();
    }
    // A clean start for each run: no log, no installer's trace, no download file; the reply comes over https.
    void Reset()
    {
        CleanRunTest::SetUp();
        ASSERT_FALSE(HttpsServerHost("good").empty()) << "run through ctest, which starts the servers";
        ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "VersionScheme", "https"));
        ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "VersionDomain", HttpsServerHost("good")));
        ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "OpenURLPolicy", "hosts:localhost"));
        DeleteFileIfAny(InstalledLog());
        DownloadFiles(true);
    }

    // Installs the test installer as the server's mode serves it, with its own SHA-256 and size unless others
    // are given; then the script notes that it went on.
    static std::string Script(const std::string& mode, const std::string& server = "good", std::string sha = "",
                              long long size = 0)
    {
        auto file = Installer();
        return "install \"https://" + HttpsServerHost(server) + "/files/" + mode + "/" + cInstaller + "\", \"" +
               (sha.empty() ? file.second : sha) + "\", " + std::to_string(size ? size : file.first) +
               ", \"/S --mode=" + mode + "\"; set $after, \"1\";";
    }

    // A version request whose reply is the script; every window but the non-standard box is the watcher's.
    static RunResult Run(const std::string& script, const std::string& options, Watcher watcher = nullptr,
                         DWORD timeoutMs = 30000)
    {
        TempFile params("uw_e2e_install_params.txt", "VR_TestScript=" + script + "\n");
        return RunUpdateWatch(options + " -verbose -vsend " + params.Arg(), [watcher](const Window& w) {
            return IsNonStandardBox(w) ? Answer::Press(IDOK) : watcher ? watcher(w) : Answer::Press(-1);
        }, timeoutMs);
    }
};

} // namespace

// A verified installer starts exactly once with the script's arguments, straight from the server or after a
// redirect the policy allows; without windows the log hears of the progress in steps of 10 %.
TEST_F(InstallE2E, VerifiedInstallerStartsOnceWithItsArguments)
{
    for (const std::string mode : {"slow", "redirect-ok"}) {
        Reset();
        RunResult r = Run(Script(mode), "-s");
        EXPECT_EQ(r.exitCode, 0u) << mode;
        EXPECT_TRUE(CloseInstallerBox()) << mode << ": the installer's box did not show";
        EXPECT_EQ(ReadFile(InstalledLog()), "/S --mode=" + mode + "\r\n") << mode;
        EXPECT_EQ(DownloadFiles(false), 1) << mode << ": the started file stays, no other";
        std::string log = ReadFile(LogPath());
        EXPECT_TRUE(HasText(log, "Install: started \"" + TempDir() + "NimbraUpdate-")) << log;
        EXPECT_TRUE(HasText(log, ".exe\" /S --mode=" + mode + ".\r\nSuccess: Install (started)\r\n")) << log;
        EXPECT_TRUE(HasText(log, "\tInstallResult\t=\t\"started\"")) << mode;
        EXPECT_TRUE(HasText(log, "\t$after\t=\t\"1\"")) << mode << ": the script goes on";
        size_t steps = 0;
        for (size_t at = log.find(" %).\r\n"); at != std::string::npos; at = log.find(" %).\r\n", at + 1))
            ++steps;
        EXPECT_TRUE(mode != "slow" || (steps >= 5 && HasText(log, "(100 %).\r\nInstall: started"))) << log;
    }
}

// Each bad server ends the install with its own result and words; nothing is started, the file is gone, and the
// script goes on.
TEST_F(InstallE2E, EveryBadDownloadSaysWhyAndLeavesNothing)
{
    const std::string n = std::to_string(Installer().first);
    const std::string ok = ":" + PortFromEnvironment("ORN_HTTPS_PORTS", "good") + "/files/ok/test_installer.exe).";
    struct Row {
        std::string mode;
        const char* server;
        const char* result;
        std::string text; // a part of the line "Install: ..." and of the failure box
        std::string sha = "";
        long long size = 0;
    };
    const Row rows[] = {
        {"longer", "good", "size", "announced " + std::to_string(Installer().first + 1000) + " bytes, not the " + n},
        {"more", "good", "size", " bytes, more than the " + n + " the script gives."},
        {"fewer", "good", "size", "sent " + std::to_string(Installer().first - 1000) + " bytes, fewer than the " + n},
        {"wrong", "good", "checksum", ", not the one the script gives."},
        {"cut", "good", "network", "broke off after " + std::to_string(Installer().first / 2) + " of " + n + " bytes."},
        {"stall", "good", "network", "no data came for 30 seconds."},
        {"500", "good", "network", "the server answered with HTTP status 500."},
        {"ok", "untrusted", "network", "the server's certificate was refused: untrusted issuer."},
        {"redirect-http", "good", "redirect", "not allowed (http://localhost" + ok},
        {"redirect-host", "good", "redirect", "not allowed (https://127.0.0.1" + ok},
        {"redirect-loop", "good", "redirect", "the server redirected more than 5 times."},
        // No file may grow past 4 MB (https_servers.py): the disk is full.
        {"big", "good", "disk", "the file could not be written or read back (", std::string(64, '0'), 6 << 20},
    };
    for (const Row& row : rows) {
        Reset();
        RunResult r = Run(Script(row.mode, row.server, row.sha, row.size), "-s", nullptr, 60000);
        EXPECT_EQ(r.exitCode, 0u) << row.mode;
        std::string log = ReadFile(LogPath());
        EXPECT_TRUE(HasText(log, row.text) && HasText(log, "Failure: Install (" + std::string(row.result) + ")"))
            << row.mode << "\n" << log;
        EXPECT_TRUE(HasText(log, "):\r\nThe Nimbra update could not be installed: ")) << row.mode << ": the box";
        EXPECT_TRUE(HasText(log, "\tInstallResult\t=\t\"" + std::string(row.result) + "\"")) << row.mode;
        EXPECT_TRUE(HasText(log, "\t$after\t=\t\"1\"")) << row.mode << ": the script goes on";
        EXPECT_FALSE(FileExists(InstalledLog())) << row.mode << ": the installer ran";
        EXPECT_EQ(DownloadFiles(false), 0) << row.mode << ": a file is left";
    }
}

// An install in a reply fetched over plain http and not signed is a script error: nothing is fetched or made.
TEST_F(InstallE2E, AnUnsignedHttpReplyMayNotInstall)
{
    OrnTest::TestHttpServer plain;
    ASSERT_TRUE(plain.IsListening());
    plain.SetDefault(OrnTest::HttpAnswer::Page("[START]" + Script("ok") + "[END]"));
    ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "VersionScheme", "http"));
    ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "VersionDomain", "127.0.0.1:" + std::to_string(plain.Port())));
    std::string box;
    RunResult r = Run(Script("ok"), "-s", [&box](const Window& w) {
        box = w.text;
        return Answer::Press(w.caption == "UpdateWatch" ? IDOK : -1);
    });
    EXPECT_EQ(r.exitCode, 3u);
    EXPECT_TRUE(HasText(box, "'install' refused: the reply was neither signed nor fetched over https")) << box;
    std::string log = ReadFile(LogPath());
    EXPECT_FALSE(HasText(log, "Install: ")) << log;
    EXPECT_EQ(DownloadFiles(false), 0);
}

// The progress window as it shows a running download, and Cancel, which stops it at once: no box, no file.
TEST_F(InstallE2E, ProgressWindowShowsTheDownloadAndCancelStopsIt)
{
    const int ids[] = {1101, 1103, 1104, IDCANCEL}; // the file, the amount, the rate, Cancel
    std::string texts[4];
    RECT rects[4]{}, client{};
    RunResult r = Run(Script("slow"), "", [&](const Window& w) {
        if (w.caption != "Nimbra update")
            return Answer::Press(-1);
        for (int i = 0; i < 100 && HasText(WindowText(::GetDlgItem(w.hwnd, 1103)), "0 bytes"); ++i)
            ::Sleep(50); // some bytes in, so that every text shows what it is for
        ::Sleep(600);
        for (int i = 0; i < 4; ++i) {
            texts[i] = WindowText(::GetDlgItem(w.hwnd, ids[i]));
            ::GetWindowRect(::GetDlgItem(w.hwnd, ids[i]), &rects[i]);
            ::MapWindowPoints(HWND_DESKTOP, w.hwnd, reinterpret_cast<POINT*>(&rects[i]), 2);
        }
        ::GetClientRect(w.hwnd, &client);
        EXPECT_TRUE(SaveScreenshot());
        EXPECT_NE(::GetDlgItem(w.hwnd, 1102), nullptr) << "the progress bar";
        return Answer::Press(IDCANCEL);
    });
    EXPECT_EQ(texts[0], "Downloading test_installer.exe");
    EXPECT_TRUE(HasText(texts[1], " KB of ") && HasText(texts[1], " KB (")) << texts[1];
    EXPECT_TRUE(HasText(texts[2], " KB/s, about ") && HasText(texts[2], " s left")) << texts[2];
    EXPECT_EQ(texts[3], "Cancel");
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(rects[i].left > 0 && rects[i].right < client.right) << texts[i] << ": outside";
        EXPECT_TRUE(i == 0 || rects[i].top >= rects[i - 1].bottom) << texts[i] << ": overlaps";
    }
    EXPECT_EQ(r.exitCode, 0u);
    std::string log = ReadFile(LogPath());
    EXPECT_TRUE(HasText(log, "Install: the download was cancelled.\r\nFailure: Install (cancelled)")) << log;
    EXPECT_FALSE(FileExists(InstalledLog()));
    EXPECT_EQ(DownloadFiles(false), 0);
}
