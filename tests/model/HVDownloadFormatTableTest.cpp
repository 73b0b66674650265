#include "Samples.h"

namespace Halvorn {
namespace {

//                 0         1         2         3         4         5         6         7         8
std::string const Head =
    "ID  EXT  RESOLUTION FPS HDR CH |   FILESIZE   TBR PROTO | VCODEC     VBR ACODEC     ABR ASR MORE INFO";

/// All that the row tells; empty when it is none.
std::string Read(std::string const& row, std::string const& head = Head) {
    auto const format = IHVDownloadFormat::MallocDownloadFormat(row, head);
    return format == nullptr ? "" : All(*format);
}

TEST(FormatTable, ReadsARowByThePlacesOfTheHeadLine) {
    // A value reaches back to the nearest blank, so the "~" in front of one is not part of it. A
    // right-aligned value that has grown to the left of its key ends the left-aligned one before it.
    EXPECT_EQ(Read("137 mp4  1920x1080   25 HDR  2 | ~ 10.50MiB 4419k https | "
                   "vc1.64 123456k video only  0k 44k hello, world"),
              "137|mp4|1920x1080|1920|1080|25|2|HDR|https|4419k|123456k|0k|44k|11010048|10.50MiB|vc1.64|vc1|"
              "video only|"
              "video only||hello, world|0|1|0");
    // The tool leaves out columns that are empty in all rows.
    EXPECT_EQ(
        Read("0  mp4 unknown    | https | unknown unknown", "ID EXT RESOLUTION | PROTO | VCODEC  ACODEC"),
        "0|mp4|unknown|0|0|0|0||https|||||0||unknown|unknown|unknown|unknown|||0|0|0");
}

TEST(FormatTable, TellsSoundFromPicture) {
    std::string const middle = "       | 1.00GiB  129k https | ";
    for (auto const& [row, expected] :
         Rows{{"audio only" + middle + "               ac.40.2    129k 44k", "0|1|0"},
              {"1280x720  " + middle + "audio only     ac.40.2    129k 44k", "1280|1|0"},
              {"1280x720  " + middle + "vc.1       99k                    ", "1280|0|1"},
              {"1280x720  " + middle + "vc.1       99k ac                 ", "1280|0|0"}}) {
        auto const format = IHVDownloadFormat::MallocDownloadFormat("140 mp4  " + row, Head);
        ASSERT_NE(format, nullptr) << row;
        EXPECT_EQ(Text(format->Width(), format->AudioOnly(), format->VideoOnly()), expected) << row;
        // Unlike in the JSON, a sound keeps the container's extension, and a short row just ends.
        EXPECT_EQ(format->Extension() + format->MoreInfo(), "mp4");
    }
}

TEST(FormatTable, CountsCharactersAndGoesByTheBarsOfTheHeadLine) {
    auto const row = [](std::string const& code, std::string const& size, std::string const& note) {
        return code + " mp4  1920x1080   25 HDR  2 | " + size +
               " 4419k https | vc1.64 123456k 日本語éü only  0k 44k " + note;
    };
    auto const shown = [](std::string const& code, std::string const& bytes, std::string const& size,
                          std::string const& note) {
        return code + "|mp4|1920x1080|1920|1080|25|2|HDR|https|4419k|123456k|0k|44k|" + bytes + "|" + size +
               "|vc1.64|vc1|日本語éü only|日本語éü only||" + note + "|0|0|0";
    };
    auto const full = [](std::string const& text) {
        HVDownloadFormat format;
        return format.LoadFromTable(text, Head) ? All(format) : "";
    };
    std::string const wide = row("日本é", " ≈10.50MiB", "ü");
    EXPECT_EQ(Read(wide), shown("日本é", "11010048", "≈10.50MiB", "ü"));
    EXPECT_EQ(full(wide), Read(wide));
    std::string const bars = row("1|é", "   1.50TiB", "a | b");
    EXPECT_EQ(Read(bars), "");
    EXPECT_EQ(full(bars), shown("1|é", "1649267441664", "1.50TiB", "a | b"));
    // A title that looks like a row.
    EXPECT_EQ(full("18 mp4 640x360 | x | y"), "");
}

TEST(FormatTable, RefusesWhatIsNoRow) {
    std::string const good = "137 mp4  1920x1080             | 1.00MiB 44k https | vc ";
    ASSERT_NE(Read(good), "");
    for (std::string const& row :
         {std::string(), good + "| x", std::string("137 mp4 | x"), std::string("| x | y"),
          std::string("sb0 mhtml 48x27 | x | y"), std::string("137 mp4  1920x1080 | x | images ")})
        EXPECT_EQ(Read(row), "") << row;
    for (char const* const head : {"ID EXT | x | y", "ID EXT RESOLUTION | x", "ID EXT RESOLUTION || y"})
        EXPECT_EQ(Read(good, head), "") << head;
}

TEST(FormatTable, ReadsSizes) {
    for (auto const& [text, expected] : Rows{{"~ 1.50MiB", "1|1572864"},
                                             {"1.00GiB", "1|1073741824"},
                                             {"500.00KiB", "1|512000"},
                                             {" 7bytes ", "1|7"},
                                             {"1.5TiB", "1|1"},
                                             {"3kB", "1|3"},
                                             {"99999999999GiB", "1|0"},
                                             {"1.5", "0|0"},
                                             {"~ MiB", "0|0"},
                                             {"1MiBs", "0|0"}}) {
        HVDownloadFormat format;
        bool const isSize = format.IsSizeString(text);
        if (isSize)
            format.ParseSizeFormat(text);
        EXPECT_EQ(Text(isSize, format.Size()), expected) << text;
    }
    EXPECT_THROW(HVDownloadFormat().ParseSizeFormat(".MiB"), std::invalid_argument);
}

} // namespace
} // namespace Halvorn
