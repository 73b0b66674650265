#include "IHVJsonValue.h"

#include <gmock/gmock.h>

namespace Halvorn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::shared_ptr<IHVJsonValue const> Read(std::string const& text) {
    return IHVJsonReader::ReadJsonString(text, nullptr);
}

TEST(JsonReader, ReadsEachTypeAsWhatItIsAskedFor) {
    struct Row {
        char const* json;
        char const* text;
        int whole;
        std::uint64_t wide;
        float number;
        bool truth;
        int count;
    };
    for (Row const& row : {
             Row{R"("a\u0041\n")", "aA\n", 0, 0, 0, false, 0},
             Row{R"("12")", "12", 0, 0, 0, false, 0},
             Row{"12", "", 12, 12, 12, false, 0},
             Row{"-12.9", "", -12, 0, -12.9F, false, 0},
             Row{"12.9e0", "", 12, 12, 12.9F, false, 0},
             Row{"2147483648", "", 0, 2147483648U, 2147483648.0F, false, 0},
             Row{"-2147483648", "", -2147483647 - 1, 0, -2147483648.0F, false, 0},
             Row{"2147483647.5", "", 2147483647, 2147483647U, 2147483648.0F, false, 0},
             Row{"18446744073709551615", "", 0, UINT64_MAX, 18446744073709551616.0F, false, 0},
             Row{"18446744073709551616", "", 0, 0, 18446744073709551616.0F, false, 0},
             Row{"1234567890123456789012345", "", 0, 0, 1234567890123456789012345.0F, false, 0},
             Row{"1e39", "", 0, 0, 0, false, 0},
             Row{"1e999", "", 0, 0, 0, false, 0},
             Row{"-1e-999", "", 0, 0, 0, false, 0},
             Row{"NaN", "", 0, 0, 0, false, 0},
             Row{"Infinity", "", 0, 0, 0, false, 0},
             Row{"-Infinity", "", 0, 0, 0, false, 0},
             Row{"true", "", 0, 0, 0, true, 0},
             Row{"null", "", 0, 0, 0, false, 0},
             Row{"[null, 1]", "", 0, 0, 0, false, 2},
             Row{R"({"k": 1})", "", 0, 0, 0, false, 0},
         }) {
        auto const root = Read(std::string("{\"other\": 0, \"k\": ") + row.json + "}");
        ASSERT_NE(root, nullptr) << row.json;
        EXPECT_EQ(root->GetValueString("k"), row.text) << row.json;
        EXPECT_EQ(root->GetValueInt("k"), row.whole) << row.json;
        EXPECT_EQ(root->GetValueUInt64("k"), row.wide) << row.json;
        EXPECT_FLOAT_EQ(root->GetValueFloat("k"), row.number) << row.json;
        EXPECT_EQ(root->GetValueBool("k"), row.truth) << row.json;
        EXPECT_EQ(root->GetArrayCount("k"), row.count) << row.json;
    }
}

TEST(JsonReader, AnswersEmptyWhereThereIsNothing) {
    for (char const* const text :
         {"{}", "[]", "[{\"k\": 1}]", "null", "7", "\"k\"", "NaN", " {\"k\": null} \n"}) {
        auto const root = Read(text);
        ASSERT_NE(root, nullptr) << text;
        EXPECT_EQ(root->GetValueString("k"), "") << text;
        EXPECT_EQ(root->GetValueInt("k"), 0) << text;
        EXPECT_EQ(root->GetArrayCount("k"), 0) << text;
        EXPECT_EQ((*root)["k"], nullptr) << text;
        EXPECT_EQ((*root)[nullptr], nullptr) << text;
        EXPECT_EQ(root->GetArrayItem("k", 0), nullptr) << text;
    }
    EXPECT_THAT(Read("[1]")->GetMemberNames(), IsEmpty());
}

TEST(JsonReader, WalksAndKeepsItsDocumentAlive) {
    auto const item = Read(R"({"a": {"list": [1, {"name": "n", "": 2, "x\u0000y": 3}, null]}})");
    auto const list = (*item)["a"];
    auto const element = list->GetArrayItem("list", 1);
    EXPECT_EQ(list->GetArrayItem("list", -1), nullptr);
    EXPECT_EQ(list->GetArrayItem("list", 3), nullptr);
    EXPECT_EQ(list->GetArrayItem("list", 2)->GetValueInt("k"), 0);
    EXPECT_THAT(element->GetMemberNames(), ElementsAre("name", "", std::string("x\0y", 3)));
    auto const lone = Read(R"({"a": {"b": [{"c": "kept"}]}})")->operator[]("a")->GetArrayItem("b", 0);
    EXPECT_EQ(lone->GetValueString("c"), "kept");
}

TEST(JsonReader, TakesWhatAStrictParserRefuses) {
    struct Row {
        std::string json;
        std::string expected;
    };
    std::string const longNumber(400, '7');
    for (Row const& row : {
             Row{R"("\ud83d\ude00")", "\xF0\x9F\x98\x80"},
             Row{R"("a\ud83db")", "a\xEF\xBF\xBD"
                                  "b"},
             Row{R"("\uDE00\uD83D\uDE00")", "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
             Row{R"("\ud83d\ud83d\ude00\ud83d")", "\xEF\xBF\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD"},
             Row{R"("\\ud83d\"\ude00")", "\\ud83d\"\xEF\xBF\xBD"},
             Row{std::string("\"").append(longNumber).append("\", \"n\": ").append(longNumber), longNumber},
             Row{"\"x\", \"n\": [-" + longNumber + ", -1.5e+999, 1E400, 0.0e99999999999999999]", "x"},
         }) {
        auto const root = Read(std::string("{\"k\": ").append(row.json).append(", \"last\": 5}"));
        ASSERT_NE(root, nullptr) << row.json;
        EXPECT_EQ(root->GetValueString("k"), row.expected) << row.json;
        EXPECT_EQ(root->GetValueInt("n"), 0) << row.json;
        EXPECT_EQ(root->GetValueInt("last"), 5) << row.json;
    }
}

TEST(JsonReader, SurvivesAnyDepth) {
    constexpr std::size_t depth = 2000000;
    EXPECT_NE(Read(std::string(depth, '[') + std::string(depth, ']')), nullptr);
    EXPECT_EQ(Read(std::string(depth, '[')), nullptr);
}

TEST(JsonReader, RefusesWhatIsNoJsonWithAReason) {
    for (std::string const& text :
         {std::string(), std::string(" \n"), std::string("{"), std::string("{\"a\": 1,}"),
          std::string("{} x"), std::string("\"\\ud83"), std::string("\"\\"), std::string("ERROR: no"),
          std::string("{\"a\": \"b"), std::string("[1-2]"), std::string("[\"\\ud83d]")}) {
        std::shared_ptr<IHVError const> error;
        EXPECT_EQ(IHVJsonReader::ReadJsonString(text, &error), nullptr) << text;
        ASSERT_NE(error, nullptr) << text;
        EXPECT_FALSE(error->Succeed());
        EXPECT_NE(error->GetErrorMessage(), "");
    }
}

} // namespace
} // namespace Halvorn
