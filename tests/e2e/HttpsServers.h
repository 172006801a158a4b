// What the programs that run inside https_servers.py share: the servers' host names, and their test CA trusted
// in this program's Wine prefix while the program runs (a GoogleTest environment, set up by linking this in).
#pragma once

#include <string>

namespace E2E {

// "localhost:PORT" of the named server from ORN_HTTPS_PORTS ("good=PORT,..."), or "" when it is not there.
std::string HttpsServerHost(const std::string& name);

} // namespace E2E
