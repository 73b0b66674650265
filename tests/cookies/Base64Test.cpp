#include "IHVBase64Codec.h"

#include <gtest/gtest.h>

namespace Halvorn {
namespace {

TEST(Base64, Decode) {
    struct {
        char const* text;
        std::string bytes;
    } const rows[] = {{"", ""},
                      {"Zg==", "f"},
                      {"Zm8=", "fo"},
                      {"Zm9v", "foo"},
                      {"Zm9vYg", "foob"},
                      {" Zm9v\r\nYmE=\n", "fooba"},
                      {"+/+/AAECAw==", std::string("\xFB\xFF\xBF\0\1\2\3", 7)},
                      {"Z", ""},
                      {"Zm9vZ", ""},
                      {"Zg=", ""},
                      {"Zg===", ""},
                      {"Zg==Zg==", ""},
                      {"Zm9v====", ""},
                      {"Zm-_", ""},
                      {"Zm9v\x80", ""}};
    for (auto const& row : rows)
        EXPECT_EQ(IHVBase64Codec::Decode(row.text), row.bytes) << row.text;
}

} // namespace
} // namespace Halvorn
