#include "Samples.h"

namespace Halvorn {
namespace {

//                 0         1         2         3         4         5         6         7         8
std::string const Head =
    "ID  EXT  RESOLUTION FPS HDR CH |   FILESIZE   TBR PROTO | VCODEC     VBR ACODEC     ABR ASR MORE INFO";

TEST(FormatTable, ReadsARowByThePlacesOfTheHeadLine) {
    auto const format =
        IHVDownloadFormat::MallocDownloadFormat("137 mp4  1920x1080   25 HDR  2 | ~ 10.50MiB 4419k https | "
                                                "vc1.64 123456k video only  0k 44k hello, world",
                                                Head);
    ASSERT_NE(format, nullptr);
    EXPECT_EQ(format->FormatCode() + " " + format->Extension() + " " + format->Resolution(),
              "137 mp4 1920x1080");
    EXPECT_EQ(format->Width() * 10000 + format->Height(), 19201080);
    EXPECT_FLOAT_EQ(format->FramePerSecond(), 25.0F);
    EXPECT_EQ(format->HDR(), "HDR");
    EXPECT_EQ(format->ChannelCount(), 2);
    // The value reaches back to the nearest blank, so the "~" in front of one is not part of it.
    EXPECT_EQ(format->SizeFormat(), "10.50MiB");
    EXPECT_EQ(format->Size(), 11010048U);
    EXPECT_EQ(format->TBR() + " " + format->Proto(), "4419k https");
    // A right-aligned value that has grown to the left of its key ends the left-aligned one before it.
    EXPECT_EQ(format->VideoCodecName() + " " + format->VBR(), "vc1.64 123456k");
    EXPECT_EQ(format->AudioCodecName() + " " + format->ABR() + " " + format->ASR(), "video only 0k 44k");
    EXPECT_EQ(format->MoreInfo(), "hello, world");
    EXPECT_TRUE(format->VideoOnly());
    EXPECT_FALSE(format->AudioOnly());
    EXPECT_EQ(format->GetAudioLanguage(), "");
}

TEST(FormatTable, TellsSoundFromPicture) {
    std::string const left = "140 mp4  ";
    std::string const middle = "       | 1.00GiB  129k https | ";
    struct Row {
        char const* resolution;
        char const* codecs;
        bool audioOnly;
        bool videoOnly;
    };
    for (Row const& row : {Row{"audio only", "               ac.40.2    129k 44k", true, false},
                           Row{"1280x720  ", "audio only     ac.40.2    129k 44k", true, false},
                           Row{"1280x720  ", "vc.1       99k video only         ", false, true},
                           Row{"1280x720  ", "vc.1       99k                    ", false, true},
                           Row{"1280x720  ", "vc.1       99k ac                 ", false, false}}) {
        std::string const text = std::string(left).append(row.resolution).append(middle).append(row.codecs);
        auto const format = IHVDownloadFormat::MallocDownloadFormat(text, Head);
        ASSERT_NE(format, nullptr) << row.codecs;
        EXPECT_EQ(format->AudioOnly(), row.audioOnly) << row.codecs;
        EXPECT_EQ(format->VideoOnly(), row.videoOnly) << row.codecs;
        EXPECT_EQ(format->Width(), row.resolution[0] == 'a' ? 0 : 1280);
        // Unlike in the JSON, a sound keeps the container's extension, and a short row just ends.
        EXPECT_EQ(format->Extension() + format->MoreInfo(), "mp4");
    }
}

TEST(FormatTable, ReadsWhatTheToolPrintsWithoutEmptyColumns) {
    auto const format = IHVDownloadFormat::MallocDownloadFormat("0  mp4 unknown    | https | unknown unknown",
                                                                "ID EXT RESOLUTION | PROTO | VCODEC  ACODEC");
    ASSERT_NE(format, nullptr);
    EXPECT_EQ(format->Resolution() + format->SizeFormat() + format->Proto(), "unknownhttps");
    EXPECT_EQ(format->VideoCodecName() + format->AudioCodecName(), "unknownunknown");
    EXPECT_EQ(format->Width(), 0);
}

TEST(FormatTable, RefusesWhatIsNoRow) {
    std::string const good = "137 mp4  1920x1080             | 1.00MiB 44k https | vc ";
    ASSERT_NE(IHVDownloadFormat::MallocDownloadFormat(good, Head), nullptr);
    for (std::string const& row :
         {std::string(), std::string("137 mp4 1920x1080"), good + "| x", std::string("137 mp4 | x"),
          std::string("137 mp4 | x |"), std::string("|||"), std::string("| x | y"),
          std::string("           1920x1080 | x | y"), std::string("sb0 mhtml 48x27 | x | y"),
          std::string("137 mp4  1920x1080 | x | images ")})
        EXPECT_EQ(IHVDownloadFormat::MallocDownloadFormat(row, Head), nullptr) << row;
    for (char const* const head :
         {"", "ID EXT | x | y", "ID EXT RESOLUTION", "ID EXT RESOLUTION | x", "ID EXT RESOLUTION || y"})
        EXPECT_EQ(IHVDownloadFormat::MallocDownloadFormat(good, head), nullptr) << head;
    EXPECT_FALSE(IHVDownloadFormat::IsFormatAuxiliary("ID EXT"));
    EXPECT_TRUE(IHVDownloadFormat::IsFormatAuxiliary(Head));
}

TEST(FormatTable, ReadsSizes) {
    struct Row {
        char const* text;
        bool isSize;
        std::uint64_t size;
    };
    for (Row const& row :
         {Row{"~ 1.50MiB", true, 1572864}, Row{"1.00GiB", true, 1073741824}, Row{"500.00KiB", true, 512000},
          Row{"123B", true, 123}, Row{" 7bytes ", true, 7}, Row{"1.5TiB", true, 1}, Row{"3kB", true, 3},
          Row{"2mb", true, 2}, Row{"99999999999GiB", true, 0}, Row{"1.5", false, 0}, Row{"MiB", false, 0},
          Row{"~ MiB", false, 0}, Row{"unknown", false, 0}, Row{"", false, 0}, Row{"1MiBs", false, 0}}) {
        HVDownloadFormat format;
        EXPECT_EQ(format.IsSizeString(row.text), row.isSize) << row.text;
        if (row.isSize)
            format.ParseSizeFormat(row.text);
        EXPECT_EQ(format.Size(), row.size) << row.text;
    }
    HVDownloadFormat format;
    EXPECT_TRUE(format.IsSizeString(".MiB"));
    EXPECT_THROW(format.ParseSizeFormat(".MiB"), std::invalid_argument);
}

TEST(FormatTable, StaysInBoundsForAnyRow) {
    std::string const row =
        "137 mp4  1920x1080   25 HDR  2 | ~ 10.50MiB 4419k https | vc1.64 123456k video only | ";
    for (std::size_t from = 0; from < row.size(); ++from) {
        for (std::size_t length = 0; from + length <= row.size(); ++length) {
            IHVDownloadFormat::MallocDownloadFormat(row.substr(from, length), Head);
            IHVDownloadFormat::MallocDownloadFormat(Head, "ID EXT RESOLUTION" + row.substr(from, length));
        }
    }
}

} // namespace
} // namespace Halvorn
