// uwserver: a local version server that answers the program's version requests from a folder of reply scripts.
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <pthread.h>
#include <string>
#include <thread>

#include "Debug.h"
#include "ReplyFolder.h"
#include "ReplySigner.h"
#include "VersionServer.h"

namespace {

const char cUsage[] = "Usage: uwserver [--port N] [--record FILE] [--listen ADDRESS] [--sign-key KEY.pem] FOLDER\n"
                      "       uwserver --print-key KEY.pem\n";

struct COptions {
    int port = 8080;
    std::string record;
    std::string listen = "127.0.0.1";
    std::string signKey;
    std::string printKey;
    std::string folder;
};

bool ParsePort(const std::string& text, int& port)
{
    if (text.empty() || text.size() > 5 || text.find_first_not_of("0123456789") != std::string::npos)
        return false;
    port = std::stoi(text);
    return port <= 65535;
}

bool ParseOptions(int argc, char** argv, COptions& options)
{
    for (int i = 1; i < argc; ++i) {
        std::string opt = argv[i];
        bool hasValue = i + 1 < argc;
        if (opt == "--port" && hasValue && ParsePort(argv[i + 1], options.port))
            ++i;
        else if (opt == "--record" && hasValue)
            options.record = argv[++i];
        else if (opt == "--listen" && hasValue)
            options.listen = argv[++i];
        else if (opt == "--sign-key" && hasValue)
            options.signKey = argv[++i];
        else if (opt == "--print-key" && hasValue && argc == 3)
            options.printKey = argv[++i];
        else if (options.folder.empty() && !opt.empty() && opt[0] != '-')
            options.folder = opt;
        else
            return false;
    }
    return !options.folder.empty() || !options.printKey.empty();
}

bool LoadKey(const std::string& path, CReplySigner& signer)
{
    std::string error;
    if (signer.Load(path, error))
        return true;
    std::fprintf(stderr, "uwserver: %s\n", error.c_str());
    return false;
}

// A framework assertion that a request provokes has been written to standard error; the server goes on.
void GoOnAfterAssertion(const char*, const char*, Orn::Int) {}

// SIGINT, SIGTERM and SIGHUP stop the server from a thread of their own; every other thread blocks them.
class CSignalStop {
public:
    explicit CSignalStop(CVersionServer& server)
    {
        sigemptyset(&mSignals);
        for (int sig : {SIGINT, SIGTERM, SIGHUP})
            sigaddset(&mSignals, sig);
        pthread_sigmask(SIG_BLOCK, &mSignals, nullptr);
        mWaiter = std::thread([this, &server] {
            int sig = 0;
            sigwait(&mSignals, &sig);
            server.Stop();
        });
    }
    // The waiter may still be waiting when the server stops on its own.
    ~CSignalStop()
    {
        pthread_kill(mWaiter.native_handle(), SIGTERM);
        mWaiter.join();
    }

private:
    sigset_t mSignals;
    std::thread mWaiter;
};

// Serves until a signal stops the server; the exit status.
int Serve(const COptions& options, const CServerRules& rules, const CReplyStore& replies, std::FILE* recordTo)
{
    CRequestRecord record(recordTo);
    CVersionServer server(rules, replies, record);
    std::string error;
    if (!server.Bind(options.listen, options.port, error)) {
        std::fprintf(stderr, "uwserver: %s\n", error.c_str());
        return 1;
    }
    std::printf("listening on %s:%d\n", options.listen.c_str(), server.Port());
    std::fflush(stdout);
    CSignalStop stopOnSignal(server);
    server.Serve();
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    COptions options;
    if (!ParseOptions(argc, argv, options)) {
        std::fputs(cUsage, stderr);
        return 2;
    }
    CReplySigner signer;
    if (!options.printKey.empty()) {
        if (!LoadKey(options.printKey, signer))
            return 1;
        std::printf("%s\n", signer.PublicKeyText().c_str());
        return 0;
    }
    if (!options.signKey.empty() && !LoadKey(options.signKey, signer))
        return 1;
    std::signal(SIGPIPE, SIG_IGN);
    Orn::SetAssertHook(GoOnAfterAssertion);
    CReplyFolder folder;
    std::string messages;
    bool loaded = LoadReplyFolder(options.folder, options.signKey.empty() ? nullptr : &signer, folder, messages);
    std::fputs(messages.c_str(), stderr);
    if (!loaded)
        return 1;
    const CServerRules& rules = folder.rules;
    const CReplyStore& replies = folder.replies;
    if (options.record.empty())
        return Serve(options, rules, replies, stdout);
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> recordFile(std::fopen(options.record.c_str(), "a"), std::fclose);
    if (!recordFile) {
        std::fprintf(stderr, "uwserver: can't open %s: %s\n", options.record.c_str(), std::strerror(errno));
        return 1;
    }
    return Serve(options, rules, replies, recordFile.get());
}
