// Argument lists as the log shows them.

#include "HVMaskedArguments.h"

#include <gtest/gtest.h>

namespace Halvorn {
namespace {

TEST(MaskedArguments, ShowsNoSecret) {
    struct {
        std::vector<std::string> args;
        char const* line;
    } const rows[] = {
        {{}, ""},
        {{"--username", "u", "--password", "p w", "http://h/"}, "--username u --password *** http://h/"},
        {{"--netrc", "--netrc-cmd", "echo password p"}, "--netrc --netrc-cmd ***"},
        {{"--video-password", "", "--ap-password", "a", "--twofactor", "1"},
         "--video-password *** --ap-password *** --twofactor ***"},
        {{"--client-certificate-password", "x", "--client-certificate-key", "k"},
         "--client-certificate-password *** --client-certificate-key k"},
        {{"--username", "--password", "--password", "s"}, "--username --password *** ***"},
        {{"--proxy", "socks5://u:p/@s@w@h:1/"}, "--proxy socks5://u:***@h:1/"},
        {{"--geo-verification-proxy", "http://h:8/"}, "--geo-verification-proxy http://h:8/"},
        {{"--", "ftp://u:p@h/a@b:c"}, "-- ftp://u:***@h/a@b:c"},
        {{"http://h:8/@a"}, "http://h:8/@a"},
        {{"http://u@h:8/"}, "http://u@h:8/"},
        {{"", "a b", "q\"\\", "l\n\x7f"}, R"("" "a b" "q\"\\" "l\x0a\x7f")"}};
    for (auto const& row : rows)
        EXPECT_EQ(MaskedArguments(row.args), row.line);
}

} // namespace
} // namespace Halvorn
