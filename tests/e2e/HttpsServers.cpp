// The host names of https_servers.py's servers, and their test CA (resource TESTCA) in the local-machine "Root"
// store while the tests run, so that WinINet trusts the servers' certificates that it issued.
#include "HttpsServers.h"

#include "E2ESupport.h"
#include "TrustedCA.h"

namespace E2E {

namespace {

// From before the first test to after the last; a CA that cannot be trusted fails every good-certificate test.
const OrnTest::TrustedCA cTestCA(OrnTest::TrustedCA::Resource("TESTCA"));

} // namespace

std::string HttpsServerHost(const std::string& name)
{
    std::string port = PortFromEnvironment("ORN_HTTPS_PORTS", name);
    return port.empty() ? "" : "localhost:" + port;
}

} // namespace E2E
