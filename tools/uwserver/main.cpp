// uwserver: a version server that answers the program's version requests from a folder of reply scripts.
#include <sys/resource.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <pthread.h>
#include <string>
#include <thread>

#include "Debug.h"
#include "FileDigest.h"
#include "HttpServer.h"
#include "ReplySigner.h"
#include "ServerCommand.h"

namespace {

const char cUsage[] =
    "Usage: uwserver [--port N] [--listen ADDRESS] [--record FILE] [--sign-key KEY.pem]\n"
    "                [--tls-cert CERT.pem --tls-key KEY.pem] [--threads N] [--max-connections N]\n"
    "                [--request-timeout SECONDS] FOLDER\n"
    "       uwserver --print-key KEY.pem\n"
    "       uwserver check [--sign-key KEY.pem] FOLDER\n"
    "       uwserver which FOLDER NAME=VALUE...\n"
    "       uwserver report RECORD... [--html FILE]\n"
    "       uwserver digest FILE...\n";

struct COptions {
    int port = 8080;
    std::string record;
    std::string listen = "127.0.0.1";
    std::string signKey;
    std::string printKey;
    std::string tlsCert;
    std::string tlsKey;
    CServerLimits limits;
    std::string folder;
};

bool ParseNumber(const std::string& text, int low, int high, int& value)
{
    if (text.empty() || text.size() > 6 || text.find_first_not_of("0123456789") != std::string::npos)
        return false;
    value = std::stoi(text);
    return value >= low && value <= high;
}

// The options that take a number; false when `opt` is none of them or its value is out of range.
bool ParseNumberOption(const std::string& opt, const std::string& text, COptions& options)
{
    int value = 0;
    if (opt == "--port")
        return ParseNumber(text, 0, 65535, options.port);
    if (opt == "--threads" && ParseNumber(text, 1, 64, options.limits.threads))
        return true;
    if (opt == "--max-connections" && ParseNumber(text, 1, 100000, value))
        options.limits.maxConnections = static_cast<std::size_t>(value);
    else if (opt == "--request-timeout" && ParseNumber(text, 1, 3600, value))
        options.limits.requestTimeout = std::chrono::seconds(value);
    else
        return false;
    return true;
}

bool ParseOptions(int argc, char** argv, COptions& options)
{
    options.limits.threads = static_cast<int>(std::min(std::max(std::thread::hardware_concurrency(), 1u), 4u));
    options.limits.maxConnections = 2000;
    for (int i = 1; i < argc; ++i) {
        std::string opt = argv[i];
        bool hasValue = i + 1 < argc;
        if (hasValue && ParseNumberOption(opt, argv[i + 1], options))
            ++i;
        else if (opt == "--record" && hasValue)
            options.record = argv[++i];
        else if (opt == "--listen" && hasValue)
            options.listen = argv[++i];
        else if (opt == "--sign-key" && hasValue)
            options.signKey = argv[++i];
        else if (opt == "--tls-cert" && hasValue)
            options.tlsCert = argv[++i];
        else if (opt == "--tls-key" && hasValue)
            options.tlsKey = argv[++i];
        else if (opt == "--print-key" && hasValue && argc == 3)
            options.printKey = argv[++i];
        else if (options.folder.empty() && !opt.empty() && opt[0] != '-')
            options.folder = opt;
        else
            return false;
    }
    return options.tlsCert.empty() == options.tlsKey.empty() &&
           (!options.folder.empty() || !options.printKey.empty());
}

bool LoadKey(const std::string& path, bool publicIsEnough, CReplySigner& signer)
{
    std::string error;
    if (signer.Load(path, publicIsEnough, error))
        return true;
    std::fprintf(stderr, "uwserver: %s\n", error.c_str());
    return false;
}

// uwserver digest FILE...: "NAME SIZE SHA256" per file, as a reply's install command names it.
int Digest(int count, char** paths)
{
    int status = count > 0 ? 0 : 2;
    for (int i = 0; i < count; ++i) {
        std::string path = paths[i], error;
        CFileDigest digest;
        if (!DigestFile(path, digest, error)) {
            std::fprintf(stderr, "uwserver: %s\n", error.c_str());
            status = 1;
            continue;
        }
        std::printf("%s %llu %s\n", path.substr(path.find_last_of('/') + 1).c_str(),
                    static_cast<unsigned long long>(digest.size), digest.sha256.c_str());
    }
    if (count == 0)
        std::fputs(cUsage, stderr);
    return status;
}

// A framework assertion that a request provokes has been written to standard error; the server goes on.
void GoOnAfterAssertion(const char*, const char*, Orn::Int) {}

// Every connection takes a descriptor: as many as the system lets this process have.
void RaiseDescriptorLimit()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

// The signals the server acts on, taken by the main thread alone: blocked before any other thread starts, so
// every thread inherits the mask.
class CSignals {
public:
    CSignals()
    {
        sigemptyset(&mSet);
        for (int sig : {SIGINT, SIGTERM, SIGHUP, SIGUSR1})
            sigaddset(&mSet, sig);
        pthread_sigmask(SIG_BLOCK, &mSet, nullptr);
    }
    int Next()
    {
        int sig = 0;
        sigwait(&mSet, &sig);
        return sig;
    }

private:
    sigset_t mSet;
};

// SIGHUP reads the folder again, SIGUSR1 opens the record again (after log rotation), SIGINT and SIGTERM stop.
void HandleSignals(CSignals& signals, CServedFolder& folder, CRequestRecord& record)
{
    for (int sig; (sig = signals.Next()) == SIGHUP || sig == SIGUSR1;) {
        std::string messages;
        if (sig == SIGUSR1 && !record.Reopen(messages))
            std::fprintf(stderr, "uwserver: %s (the record goes on in the file it had)\n", messages.c_str());
        else if (sig == SIGHUP && folder.Load(messages))
            std::fprintf(stderr, "%suwserver: reloaded %s\n", messages.c_str(), folder.Path().c_str());
        else if (sig == SIGHUP)
            std::fprintf(stderr, "%suwserver: %s not reloaded: still serving the replies it had\n", messages.c_str(),
                         folder.Path().c_str());
    }
}

// Serves until a signal stops the server; the exit status.
int Serve(const COptions& options, const CReplySigner* signer)
{
    CSignals signals;
    CServedFolder folder(options.folder, signer);
    std::string messages;
    bool loaded = folder.Load(messages);
    std::fputs(messages.c_str(), stderr);
    if (!loaded)
        return 1;
    CRequestRecord record(stdout);
    CRequestHandler handler(folder);
    CHttpServer server(handler, record, options.limits);
    std::string error;
    if ((!options.record.empty() && !record.Open(options.record, error)) ||
        (!options.tlsCert.empty() && !server.UseTls(options.tlsCert, options.tlsKey, error)) ||
        !server.Bind(options.listen, options.port, error)) {
        std::fprintf(stderr, "uwserver: %s\n", error.c_str());
        return 1;
    }
    std::printf("listening on %s:%d\n", options.listen.c_str(), server.Port());
    std::fflush(stdout);
    std::thread serving([&server] { server.Serve(); });
    HandleSignals(signals, folder, record);
    server.Stop();
    serving.join();
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc >= 2 && std::strcmp(argv[1], "digest") == 0)
        return Digest(argc - 2, argv + 2);
    if (argc > 1 && IsServerCommand(argv[1])) {
        std::string out, err;
        int status = RunServerCommand(std::vector<std::string>(argv + 1, argv + argc), out, err);
        std::fwrite(out.data(), 1, out.size(), stdout);
        std::fwrite(err.data(), 1, err.size(), stderr);
        return status;
    }
    COptions options;
    if (!ParseOptions(argc, argv, options)) {
        std::fputs(cUsage, stderr);
        return 2;
    }
    CReplySigner signer;
    if (!options.printKey.empty()) {
        if (!LoadKey(options.printKey, true, signer))
            return 1;
        std::printf("%s\n", signer.PublicKeyText().c_str());
        return 0;
    }
    if (!options.signKey.empty() && !LoadKey(options.signKey, false, signer))
        return 1;
    std::signal(SIGPIPE, SIG_IGN);
    Orn::SetAssertHook(GoOnAfterAssertion);
    RaiseDescriptorLimit();
    return Serve(options, options.signKey.empty() ? nullptr : &signer);
}
