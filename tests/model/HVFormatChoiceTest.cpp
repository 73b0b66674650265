#include "Samples.h"

#include "HVDownloadItem.h"
#include "IHVStringHelper.h"

using namespace Halvorn;

namespace {

/// "CODE EXT HEIGHT VCODEC ACODEC SIZE LANGUAGE PREFERENCE", with "-" for what is not told.
std::shared_ptr<IHVDownloadFormat> MakeFormat(std::string const& text) {
    auto const words = IHVStringHelper::Split(text, ' ');
    auto const word = [&words](std::size_t i) { return i < words.size() && words[i] != "-" ? words[i] : ""; };
    std::string const resolution = word(3) == "none" ? "audio only" : "1x" + word(2);
    std::string json = R"("format_id":")" + word(0) + R"(","ext":")" + word(1) + R"(","resolution":")" +
                       resolution + R"(","vcodec":")" + word(3) + R"(","acodec":")" + word(4) +
                       R"(","language":")" + word(6) + '"';
    for (auto const& [key, index] :
         {std::pair("height", 2U), std::pair("width", 2U), std::pair("filesize", 5U),
          std::pair("language_preference", 7U), std::pair("fps", 8U)})
        if (!word(index).empty())
            json += ",\"" + std::string(key) + "\":" + word(index);
    return Format(json);
}

std::shared_ptr<HVDownloadItem> MakeItem(std::string const& formats) {
    auto item = std::make_shared<HVDownloadItem>("u");
    std::vector<std::shared_ptr<IHVDownloadFormat>> all;
    for (auto const& text : IHVStringHelper::Split(formats, ','))
        all.push_back(MakeFormat(text));
    item->TakeAllFormats(all);
    return item;
}

std::string Told(std::shared_ptr<IHVDownloadFormat> const& format) {
    return format == nullptr
               ? "none"
               : format->FormatCode() + "." + format->Extension() + format->PostProcessingOpts();
}

HVFormatWish Limit(int height, float rate = 0) {
    HVFormatWish wish;
    wish.maxHeight = height;
    wish.maxFramePerSecond = rate;
    return wish;
}
HVFormatWish In(std::string const& language) {
    HVFormatWish wish;
    wish.language = language;
    return wish;
}
HVFormatWish Prefer(std::string const& container, std::string const& codec = {}) {
    HVFormatWish wish;
    wish.container = container;
    wish.codec = codec;
    return wish;
}
HVFormatWish Other(bool audioOnly, bool worst) {
    HVFormatWish wish;
    wish.audioOnly = audioOnly;
    wish.worst = worst;
    return wish;
}

} // namespace

TEST(FormatChoice, FulfilsTheWishByTheToolsOwnOrder) {
    std::string const dubbed =
        "ar m4a - none aac 9 ar -1,de m4a - none aac 5 de 10,ds m4a - none aac 8 de -10,"
        "v mp4 720 avc1 none 100";
    std::string const sizes =
        "a m4a - none aac 5,c mp4 360 avc1 aac 50 - - 25,v7 mp4 720 avc1 none 90 - - 30,"
        "v7f mp4 720 avc1 none 95 - - 59.94,w10 webm 1080 vp9 none 99";
    for (auto const& [formats, wish, expected] :
         std::vector<std::tuple<std::string, HVFormatWish, std::string>>{
             // The tool's order goes before width and size.
             {"big mp4 1080 avc1 aac 900,best mp4 720 avc1 aac 1", {}, "best.mp4"},
             {dubbed, {}, "v+de.mp4"},
             {dubbed, In("ar"), "v+ar.mp4"},
             {dubbed, In("fr"), "none"},
             {"v mp4 720 avc1 none 1,c mp4 360 avc1 aac 1 en-US", In("EN"), "c.mp4"},
             {"a m4a - none aac 5,v mp4 720 avc1 none 1", In("fr"), "v+a.mp4"}, // nothing tells a language
             // A sound that can be copied, where it is nearly as large; else mkv, never a transcoding.
             {"o webm - none opus 90,m m4a - none aac 100,v webm 720 vp9 none 1", {}, "v+o.webm"},
             {"o webm - none opus 70,m m4a - none aac 100,v webm 720 vp9 none 1", {}, "v+m.mkv"},
             {"o webm - none opus 70,m m4a - none aac 100,v webm 720 vp9 none 1", Prefer("webm"), "v+o.webm"},
             {"m m4a - none aac 100,o webm - none opus -,v mp4 720 avc1 none 1", {}, "v+m.mp4"},
             {"o webm - none opus 90,v mp4 2160 av01 none 1", {}, "v+o.mkv"},
             {"m m4a - none aac 100,v mp4 720 avc1 none 1", Prefer("mkv"), "v+m.mkv"},
             // Silent only where nothing has sound, sound alone only where nothing has a picture.
             {"c mp4 360 avc1 aac 1,v mp4 720 avc1 none 1", {}, "c.mp4"},
             {"v mp4 720 avc1 none 1", {}, "v.mp4"},
             {"a m4a - none aac 5", {}, "a.m4a"},
             {sizes, {}, "w10+a.mkv"},
             {sizes, Limit(720), "v7f+a.mp4"},
             {sizes, Limit(720, 30), "v7+a.mp4"},
             {sizes, Limit(720, 60), "v7f+a.mp4"},
             {sizes, Limit(480), "c.mp4"},
             {sizes, Limit(100), "none"},
             {sizes, Prefer("mp4"), "v7f+a.mp4"},
             {sizes, Prefer("", "h264"), "v7f+a.mp4"},
             {sizes, Prefer("", "theora"), "w10+a.mkv"},
             {sizes, Other(true, false), "a.m4a"},
             {sizes, Other(false, true), "c.mp4"},
             {"", {}, "none"}})
        EXPECT_EQ(Told(MakeItem(formats)->BestFormat(wish)), expected) << formats;
}

TEST(FormatChoice, ChoosesWhatTheListDoesNotHold) {
    auto const item = MakeItem("o webm - none opus 90,m m4a - none aac 80,v mp4 2160 avc1 none 1");
    item->AddDownloadFormat(MakeFormat("c mp4 360 avc1 aac 1"));
    item->SetDownloadedFile("x");
    item->ChooseFormat(item->FormatWithCode("v+o"));
    EXPECT_EQ(Text(item->GetDownloadFormatCount(), item->GetCurrentFormatIndex(), item->GetDownloadFile(),
                   Told(item->GetCurrentDownloadFormat())),
              "2|1||v+o.mkv");
    item->ChooseFormat(item->FormatWithCode("v+o"));
    EXPECT_EQ(item->GetDownloadFormatCount(), 2); // the same one is not appended again
    item->ChooseFormat(item->FormatWithCode("c"));
    EXPECT_EQ(item->GetCurrentFormatIndex(), 0);
    for (auto const& [code, expected] :
         Rows{{"v", "v.mp4"}, {"v+m", "v+m.mp4"}, {"o+m", "none"}, {"x", "none"}})
        EXPECT_EQ(Told(item->FormatWithCode(code)), expected) << code;
    // An item that no analysis has filled has its list alone.
    HVDownloadItem const own({MakeFormat("c mp4 360 avc1 aac 1"), MakeFormat("d mp4 240 avc1 aac 1")}, "u");
    EXPECT_EQ(Told(own.BestFormat()), "c.mp4");
}
