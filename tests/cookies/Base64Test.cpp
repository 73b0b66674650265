#include "IHVBase64Codec.h"
#include "Text.h"

#include <gtest/gtest.h>

namespace Halvorn {
namespace {

TEST(Base64, Decode) {
    for (auto const& [text, bytes] : Rows{{"Zg==", "f"},
                                          {"Zm8=", "fo"},
                                          {"Zm9v", "foo"},
                                          {"Zm9vYg", "foob"},
                                          {" Zm9v\r\nYmE=\n", "fooba"},
                                          {"+/+/AAECAw==", std::string("\xFB\xFF\xBF\0\1\2\3", 7)}})
        EXPECT_EQ(IHVBase64Codec::Decode(text), bytes) << text;
    for (char const* bad : {"Z", "Zm9vZ", "Zg=", "Zg===", "Zg==Zg==", "Zm9v====", "Zm-_", "Zm9v\x80"})
        EXPECT_EQ(IHVBase64Codec::Decode(bad), "") << bad;
}

} // namespace
} // namespace Halvorn
