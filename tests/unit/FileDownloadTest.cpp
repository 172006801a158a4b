// A file download's portable part: where a redirect leads.
#include "FileDownload.h"

#include "TestSupport.h"

using namespace Orn;

TEST(FileDownload, RedirectsLeadToAbsoluteURLsOnly)
{
    const struct {
        const char* from;
        const char* location;
        const char* to; // null: not followed
    } rows[] = {
        {"https://a.example.com/x/y?z", "https://b.example.org/setup.exe", "https://b.example.org/setup.exe"},
        {"https://a.example.com/x/y?z", "HTTP://b.example.org/", "HTTP://b.example.org/"},
        {"https://a.example.com:8443/x/y?z", "/files/setup.exe", "https://a.example.com:8443/files/setup.exe"},
        {"https://a.example.com?q=/x", "/files", "https://a.example.com/files"},
        {"https://a.example.com/x", "//b.example.org/setup.exe", nullptr},
        {"https://a.example.com/x", "setup.exe", nullptr},
        {"https://a.example.com/x", "1https://b.example.org/", nullptr},
        {"https://a.example.com/x", "", nullptr},
        {"a.example.com/x", "/files", nullptr},
    };
    for (const auto& row : rows) {
        CString to("(untouched)");
        EXPECT_EQ(ResolveRedirect(row.from, row.location, to), row.to != nullptr) << row.location;
        EXPECT_STREQ(to, row.to ? row.to : "(untouched)") << row.location;
    }
}
