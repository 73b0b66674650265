#include "HVDisplayText.h"
#include "HVMaskedArguments.h"
#include "HVNumberText.h"
#include "IHVError.h"
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

TEST(DisplayText, OneLineDoesNothingButShowItself) {
    for (auto const& [text, plain] : Rows{{"A \x1b[31m\x1b]0;owned\x07r\x1bP1\x1b\\s", "A rs"},
                                          {"a\r\n\tb\u2028c\x7f\u009b", "a   b c"},
                                          {"\u202e\u061c\ufeffx\xFFy", "x\ufffdy"},
                                          {"\x1b]never ends", "never ends"},
                                          {"\x1b[", ""}})
        EXPECT_EQ(PlainLine(text), plain);
    std::string begins;
    for (int i = 0; i < 300'000; ++i)
        begins += "\x1b]"; // none of them ends
    EXPECT_EQ(PlainLine(begins), "");
}

TEST(DisplayText, IsMeasuredAndCutInColumns) {
    // Wide, combining, wide outside the first plane, faulty.
    std::string const text = "\u65e5e\u0301\U0001f600\xF0\x9F";
    EXPECT_EQ(DisplayWidth(text), 7U);
    for (auto const& [columns, expected] :
         Rows{{"0", ""}, {"1", "\u2026"}, {"3", "\u65e5\u2026"}, {"4", "\u65e5e\u0301\u2026"}, {"7", text}})
        EXPECT_EQ(CutToWidth(text, std::stoul(columns)), expected);
    EXPECT_EQ(FitToWidth("\u65e5\u65e5", 3) + FitToWidth("a", 3) + "|", "\u65e5\u2026a  |");
    EXPECT_EQ(ValidText("a\xED\xA0\x80"), "a\ufffd\ufffd\ufffd");
}

TEST(DisplayText, AFaultIsTheToolsOwnWords) {
    for (auto const& [message, words] :
         Rows{{"err:WARNING: [x] w\nERROR: [generic] 404 (caused by <404>)\nERROR: [generic] 404\n", "404"},
              {"Download error: ERROR: a; please report this issue on https://h\nERROR: [a b] c",
               "a; [a b] c"},
              {"Usage: x\nyt-dlp: error: no such option: -x", "no such option: -x"},
              {"Traceback (most recent call last):\n  File x\nKeyError: 'y'", "KeyError: 'y'"},
              {"plain\x1b[1m words\nof ours", "plain words; of ours"},
              {"Can't read \"https://bob:PW@h:1/@x\" or s://u:p@h?s://u:p@h/",
               "Can't read \"https://bob:***@h:1/@x\" or s://u:***@h?s://u:***@h/"},
              {" err: \n", "no reason was given"}}) {
        auto const error = IHVError::MallocError("f", 1, "g", -1, "Error", message.c_str());
        EXPECT_EQ(error->GetPlainMessage(), words);
    }
}

} // namespace
} // namespace Halvorn
