#include "IHVJsonValue.h"
#include "Text.h"

#include <gmock/gmock.h>

namespace Halvorn {
namespace {

std::shared_ptr<IHVJsonValue const> Read(std::string const& text) {
    return IHVJsonReader::ReadJsonString(text, nullptr);
}

/// What the member "k" is as a text, an int, a wide int, a float, a truth value, a list.
std::string All(IHVJsonValue const& root) {
    return Text(root.GetValueString("k"), root.GetValueInt("k"), root.GetValueUInt64("k"),
                root.GetValueFloat("k"), root.GetValueBool("k"), root.GetArrayCount("k"));
}

TEST(JsonReader, ReadsEachTypeAsWhatItIsAskedFor) {
    for (auto const& [json, expected] :
         Rows{{R"("a\u0041\n")", "aA\n|0|0|0|0|0"},
              {"12", "|12|12|12|0|0"},
              {"-12.9", "|-12|0|-12.9|0|0"},
              {"2147483648", "|0|2147483648|2.14748e+09|0|0"},
              {"2147483647.5", "|2147483647|2147483647|2.14748e+09|0|0"},
              {"18446744073709551615", "|0|18446744073709551615|1.84467e+19|0|0"},
              {"18446744073709551616", "|0|0|1.84467e+19|0|0"},
              {"1e39", "|0|0|0|0|0"},
              {"-1e-999", "|0|0|-0|0|0"},
              {"-Infinity", "|0|0|0|0|0"},
              {"true", "|0|0|0|1|0"},
              {"[null, 1]", "|0|0|0|0|2"}}) {
        auto const root = Read(std::string("{\"other\": 0, \"k\": ") + json + "}");
        ASSERT_NE(root, nullptr) << json;
        EXPECT_EQ(All(*root), expected) << json;
    }
}

TEST(JsonReader, AnswersEmptyWhereThereIsNothing) {
    for (char const* const text : {"{}", "[{\"k\": 1}]", "7", "\"k\"", "NaN", " {\"k\": null} \n"}) {
        auto const root = Read(text);
        ASSERT_NE(root, nullptr) << text;
        EXPECT_EQ(All(*root), "|0|0|0|0|0") << text;
        EXPECT_FALSE((*root)["k"] || (*root)[nullptr] || root->GetArrayItem("k", 0)) << text;
    }
}

TEST(JsonReader, WalksAndKeepsItsDocumentAlive) {
    auto const list = (*Read(R"({"a": {"list": [1, {"name": "n", "": 2, "x\u0000y": 3}, null]}})"))["a"];
    EXPECT_FALSE(list->GetArrayItem("list", -1) || list->GetArrayItem("list", 3));
    EXPECT_EQ(list->GetArrayItem("list", 2)->GetValueInt("k"), 0);
    auto const element = list->GetArrayItem("list", 1);
    EXPECT_THAT(element->GetMemberNames(), testing::ElementsAre("name", "", std::string("x\0y", 3)));
    EXPECT_EQ(element->GetValueString("name"), "n");
}

TEST(JsonReader, TakesWhatAStrictParserRefuses) {
    std::string const longNumber(400, '7');
    for (auto const& [json, expected] :
         Rows{{R"("\ud83d\ude00")", "\xF0\x9F\x98\x80"},
              {R"("\ud83d\ud83d\ude00\ud83d")", "\xEF\xBF\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD"},
              {R"("\\ud83d\"\ude00")", "\\ud83d\"\xEF\xBF\xBD"},
              {R"("\\ud83d\ude00")", "\\ud83d\xEF\xBF\xBD"},
              {"\"" + longNumber + "\", \"n\": " + longNumber, longNumber},
              {"\"x\", \"n\": [-" + longNumber + ", -1.5e+999, 1E400, 0.0e99999999999999999]", "x"}}) {
        auto const root = Read("{\"k\": " + json + ", \"last\": 5}");
        ASSERT_NE(root, nullptr) << json;
        EXPECT_EQ(Text(root->GetValueString("k"), root->GetValueInt("n"), root->GetValueInt("last")),
                  expected + "|0|5");
    }
    std::size_t const depth = 2000000;
    EXPECT_NE(Read(std::string(depth, '[') + std::string(depth, ']')), nullptr);
    EXPECT_EQ(Read(std::string(depth, '[')), nullptr);
}

TEST(JsonReader, SaysWhereAndWhyATextIsNoJson) {
    for (auto const& [text, place] : Rows{{"", "0"},
                                          {"{\"a\": 1,}", "8"},
                                          {"{} x", "3"},
                                          {std::string("{}\0", 3), "2"},
                                          {R"(["\ud83"])", "2"},
                                          {R"(["\ud83d])", "9"},
                                          {"\"\\", "1"},
                                          {"[1-2]", "2"},
                                          {"[1e400.5, 2]", "1"},
                                          {"[1e999, \"\\ud83d\", 01]", "19"}}) {
        std::shared_ptr<IHVError const> error;
        EXPECT_EQ(IHVJsonReader::ReadJsonString(text, &error), nullptr) << text;
        ASSERT_NE(error, nullptr) << text;
        EXPECT_THAT(error->GetErrorMessage(), testing::MatchesRegex(".+ \\(at byte " + place + "\\)"))
            << text;
    }
}

} // namespace
} // namespace Halvorn
