// The process's environment variables.
#include "Environment.h"

#include "TestSupport.h"

using namespace Orn;

TEST(Environment, SetThenGet)
{
    CString value = "stale";
    EXPECT_FALSE(GetEnvVariable("ORN_ENV_TEST_NEVER_SET", value));
    EXPECT_STREQ(value, "");

    ASSERT_TRUE(SetEnvVariable("ORN_ENV_TEST", "first value"));
    EXPECT_TRUE(GetEnvVariable("ORN_ENV_TEST", value));
    EXPECT_STREQ(value, "first value");
    // Values of any length come back whole.
    CString longValue;
    longValue.AppendChar('x', 3000);
    ASSERT_TRUE(SetEnvVariable("ORN_ENV_TEST", longValue));
    EXPECT_TRUE(GetEnvVariable("ORN_ENV_TEST", value));
    EXPECT_EQ(value.Length(), 3000);
}
