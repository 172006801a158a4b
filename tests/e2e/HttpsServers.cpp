// The host names of https_servers.py's servers, and their test CA (resource TESTCA) in the local-machine "Root"
// store while the tests run, so that WinINet trusts the servers' certificates that it issued.
#include "HttpsServers.h"

#include <gtest/gtest.h>

#include <memory>

#include "E2ESupport.h"
#include "TrustedCA.h"

namespace E2E {

namespace {

// Trusted from before the first test to after the last.
class TrustedTestCA : public ::testing::Environment {
public:
    void SetUp() override
    {
        mCA = std::make_unique<OrnTest::TrustedCA>("TESTCA");
        ASSERT_EQ(mCA->Error(), "");
    }
    void TearDown() override { mCA.reset(); }

private:
    std::unique_ptr<OrnTest::TrustedCA> mCA;
};

::testing::Environment* const cTestCA = ::testing::AddGlobalTestEnvironment(new TrustedTestCA);

} // namespace

std::string HttpsServerHost(const std::string& name)
{
    std::string port = PortFromEnvironment("ORN_HTTPS_PORTS", name);
    return port.empty() ? "" : "localhost:" + port;
}

} // namespace E2E
