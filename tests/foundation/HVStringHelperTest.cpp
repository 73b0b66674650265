#include "HVMaskedArguments.h"
#include "HVNumberText.h"
#include "IHVStringHelper.h"
#include "Text.h"

#include <gmock/gmock.h>

#include <clocale>
#include <locale>
#include <stdexcept>

namespace Halvorn {
namespace {

using testing::ElementsAre;

TEST(StringHelper, TrimsLowersSplitsAndJoins) {
    EXPECT_EQ(IHVStringHelper::Trimmed(" \t\r\n\v\fa b\n "), "a b");
    EXPECT_EQ(IHVStringHelper::Trimmed(" \n"), "");
    EXPECT_EQ(IHVStringHelper::ToLower("AZ@[\xC3\x84mIb"), "az@[\xC3\x84mib");
    EXPECT_THAT(IHVStringHelper::Split("", '|'), ElementsAre());
    EXPECT_THAT(IHVStringHelper::Split("|a||b|", '|'), ElementsAre("", "a", "", "b"));
    EXPECT_EQ(IHVStringHelper::Join({"", "a", "", "b"}, '|'), "|a||b");
}

TEST(StringHelper, NumberStringsAreThoseThatConvert) {
    for (char const* const text : {"007", "+25", "29.97", "2147483647", "-2147483648"})
        EXPECT_TRUE(IHVStringHelper::IsNumberString(text)) << text;
    for (char const* const text :
         {"", "-", ".5", "5.", "1.2.3", "1e5", " 1", "--1", "2147483648", "-2147483649"})
        EXPECT_FALSE(IHVStringHelper::IsNumberString(text)) << text;
}

TEST(NumberText, ReadsTheNumberThatATextBeginsWith) {
    for (auto const& [text, expected] :
         Rows{{" 1.5.3", "1.5"}, {"-.5", "-0.5"}, {"+7x", "7"}, {"0." + std::string(400, '3'), "0.333333"}})
        EXPECT_EQ(Text(TextToFloat(text)), expected) << text;
    for (char const* const text : {"", ".", "-", " ", "x1"})
        EXPECT_THROW(TextToFloat(text), std::invalid_argument) << text;
    EXPECT_THROW(TextToFloat(std::string(400, '9')), std::out_of_range);
}

/// A locale with a comma, whichever this system has, or a global C++ locale of our own.
class CommaPoint : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(NumberText, DoesNotFollowTheApplicationsLocale) {
    std::locale const before = std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
    std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
    EXPECT_EQ(FixedText(1234.56, 1), "1234.6");
    EXPECT_FLOAT_EQ(TextToFloat("1.5"), 1.5F);
    std::setlocale(LC_NUMERIC, "C");
    std::locale::global(before);
}

TEST(MaskedArguments, ShowNoSecret) {
    for (auto const& [args, line] :
         Rows{{"--username|u|--password|p w|http://h/", "--username u --password *** http://h/"},
              {"--netrc-cmd|echo password p", "--netrc-cmd ***"},
              {"--video-password||--ap-password|a|--twofactor|1",
               "--video-password *** --ap-password *** --twofactor ***"},
              {"--client-certificate-password|x|--client-certificate-key|k",
               "--client-certificate-password *** --client-certificate-key k"},
              {"--username|--password|--password|s", "--username --password *** ***"},
              {"--proxy|socks5://u:p/@s@w@h:1/", "--proxy socks5://u:***@h:1/"},
              {"--|ftp://u:p@h/a@b:c", "-- ftp://u:***@h/a@b:c"},
              {"http://h:8/@a", "http://h:8/@a"},
              {"http://u@h:8/", "http://u@h:8/"},
              {"|a b|q\"\\|l\n\x7f", R"("" "a b" "q\"\\" "l\x0a\x7f")"}})
        EXPECT_EQ(MaskedArguments(IHVStringHelper::Split(args, '|')), line);
}

} // namespace
} // namespace Halvorn
