#include "HVNumberText.h"
#include "IHVStringHelper.h"

#include <gmock/gmock.h>

#include <clocale>
#include <locale>
#include <stdexcept>

namespace Halvorn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(StringHelper, TrimsOnlyTheEnds) {
    EXPECT_EQ(IHVStringHelper::Trimmed(" \t\r\n\v\fa b\n "), "a b");
    EXPECT_EQ(IHVStringHelper::Trimmed(" \n"), "");
    EXPECT_EQ(IHVStringHelper::Trimmed("\xC2\xA0x"), "\xC2\xA0x");
}

TEST(StringHelper, LowersAsciiAlone) {
    EXPECT_EQ(IHVStringHelper::ToLower("AZ@[\xC3\x84mIb"), "az@[\xC3\x84mib");
}

TEST(StringHelper, SplitsAndJoins) {
    EXPECT_THAT(IHVStringHelper::Split("", '|'), IsEmpty());
    EXPECT_THAT(IHVStringHelper::Split("a", '|'), ElementsAre("a"));
    EXPECT_THAT(IHVStringHelper::Split("|a||b|", '|'), ElementsAre("", "a", "", "b"));
    EXPECT_THAT(IHVStringHelper::Split("a\n\n", '\n'), ElementsAre("a", ""));
    EXPECT_EQ(IHVStringHelper::Join({"", "a", "", "b"}, '|'), "|a||b");
    EXPECT_EQ(IHVStringHelper::Join({}, '|'), "");
}

TEST(StringHelper, NumberStringsAreThoseThatConvert) {
    for (char const* const text :
         {"0", "007", "-1", "+25", "29.97", "2147483647", "-2147483648", "1.00000000000"})
        EXPECT_TRUE(IHVStringHelper::IsNumberString(text)) << text;
    for (char const* const text : {"", "-", "+", ".", ".5", "5.", "1.2.3", "1e5", " 1", "1 ", "0x10", "--1",
                                   "nan", "1,5", "2147483648", "-2147483649", "99999999999999999999.5"})
        EXPECT_FALSE(IHVStringHelper::IsNumberString(text)) << text;
}

TEST(NumberText, ReadsTheNumberThatATextBeginsWith) {
    struct Row {
        std::string text;
        float expected;
    };
    for (Row const& row :
         {Row{"29.97", 29.97F}, Row{" 1.5.3", 1.5F}, Row{"500 x", 500.0F}, Row{"-.5", -0.5F}, Row{"+7", 7.0F},
          Row{"16777217", 16777216.0F}, Row{"0." + std::string(400, '3'), 1 / 3.0F},
          Row{std::string(400, '0') + "1", 1.0F}})
        EXPECT_FLOAT_EQ(TextToFloat(row.text), row.expected) << row.text;
    for (char const* const text : {"", ".", "-", " ", "x1"})
        EXPECT_THROW(TextToFloat(text), std::invalid_argument) << text;
    EXPECT_THROW(TextToFloat(std::string(400, '9')), std::out_of_range);
}

/// A locale with a comma, whichever this system has, or a global C++ locale of our own.
class CommaPoint : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(NumberText, DoesNotFollowTheApplicationsLocale) {
    std::locale const before = std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
    std::string const old = std::setlocale(LC_NUMERIC, nullptr);
    for (char const* const name : {"de_DE.UTF-8", "fr_FR.UTF-8", "ru_RU.UTF-8"}) {
        if (std::setlocale(LC_NUMERIC, name) != nullptr)
            break;
    }
    EXPECT_EQ(FixedText(1234.56, 1), "1234.6");
    EXPECT_EQ(FixedText(1e10, 0), "10000000000");
    EXPECT_FLOAT_EQ(TextToFloat("1.5"), 1.5F);
    std::setlocale(LC_NUMERIC, old.c_str());
    std::locale::global(before);
}

} // namespace
} // namespace Halvorn
