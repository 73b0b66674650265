#include "HVDownloadThumbnail.h"
#include "LogLines.h"
#include "Samples.h"
#include "ScriptedTool.h"

namespace Halvorn {
namespace {

std::shared_ptr<HVDownloadThumbnail> FromJson(std::string const& members) {
    auto thumbnail = std::make_shared<HVDownloadThumbnail>();
    auto const json = std::make_shared<HVJsonObjectThumbnail const>(Node("{" + members + "}"));
    return thumbnail->LoadFromJson(json) ? thumbnail : nullptr;
}

std::shared_ptr<IHVDownloadThumbnail> FromRow(std::string const& row) {
    return IHVDownloadThumbnail::MallocDownloadThumbnail(row, "ID  Width   Height  URL");
}

std::string Shown(std::shared_ptr<IHVDownloadThumbnail> const& thumbnail) {
    if (thumbnail == nullptr)
        return "none";
    return Text(thumbnail->GetWidth(), thumbnail->GetHeight(), thumbnail->GetDownloadURL(),
                thumbnail->GetDataSize());
}

TEST(Thumbnail, KnowsItsFormatByTheAddress) {
    for (auto const& [extension, expected] : Rows{{"jpg", "jpg"},
                                                  {"JPEG", "jpg"},
                                                  {"jp2", "jpg"},
                                                  {"webp", "webp"},
                                                  {"png", "png"},
                                                  {"bmp", "bmp"},
                                                  {"gif", "gif"},
                                                  {"tif", "tif"},
                                                  {"tiff", "tif"},
                                                  {"xyz", ""},
                                                  {"", ""}}) {
        auto const thumbnail = FromRow("a   1       2       http://h/p." + extension + "?q=a.png");
        ASSERT_NE(thumbnail, nullptr) << extension;
        EXPECT_EQ(thumbnail->GetExtension(), expected) << extension;
        EXPECT_EQ(thumbnail->GetDataFormat() == IHVDownloadThumbnail::ThumbnailUnknown, expected.empty());
        // Only the JSON refuses WebP.
        EXPECT_EQ(FromJson(R"("id": "a", "url": "http://h/p.)" + extension + "\"") != nullptr,
                  expected != "webp");
    }
}

TEST(Thumbnail, LoadsFromJsonOrATableRow) {
    EXPECT_FALSE(HVDownloadThumbnail().LoadFromJson(nullptr));
    for (auto const& [members, expected] :
         Rows{{R"("id": "a", "url": "u.jpg", "width": 3, "height": 4)", "3|4|u.jpg|0"},
              {R"("url": "http://h/a.jpg")", "none"},
              {R"("id": "a", "url": null)", "none"}})
        EXPECT_EQ(Shown(FromJson(members)), expected);
    for (auto const& [row, expected] :
         Rows{{"12  1920    1080    http://h/a.jpg", "1920|1080|http://h/a.jpg|0"},
              {"0   unknown unknown u more", "0|0|u|0"},
              {"", "none"},
              {"0", "none"},
              {"0   1920    1080    ", "none"},
              {"    1920    1080    u", "none"}})
        EXPECT_EQ(Shown(FromRow(row)), expected) << row;
    EXPECT_EQ(IHVDownloadThumbnail::MallocDownloadThumbnail("0  1  2  u", "ID Width Height"), nullptr);
    EXPECT_TRUE(IHVDownloadThumbnail::IsThumbnailInfoToken("ID  Width   Height  URL"));
}

TEST(Thumbnail, RanksByAreaThenJpeg) {
    auto sized = [](int width, int height, std::string const& extension) {
        return FromJson(R"("id": "a", "url": "http://h/a.)" + extension + R"(", "width": )" +
                        std::to_string(width) + ", \"height\": " + std::to_string(height));
    };
    // Each ranks before all that stand behind it.
    std::shared_ptr<HVDownloadThumbnail> const order[] = {sized(1280, 720, "png"), sized(640, 900, "png"),
                                                          sized(640, 480, "jpg"), sized(640, 480, "png")};
    for (auto const& a : order) {
        for (auto const& b : order)
            EXPECT_EQ(a->BetterThan(b.get()), &a < &b);
        EXPECT_TRUE(a->BetterThan(nullptr));
    }
    EXPECT_FALSE(order[3]->BetterThan(sized(640, 480, "gif").get()));
}

/// The tool writes its output by what the address asks for.
TEST_F(ScriptedTool, BringsTheBytesOfAThumbnailOnce) {
    ShellTool(R"(echo run >> "$0.runs"
for word; do [ "$last" = --output ] && out=$word; last=$word; done
case $last in
*none*) ;;
*empty*) : > "$out" ;;
*folder*) mkdir "$out" ;;
*huge*) dd if=/dev/zero of="$out" bs=1 count=0 seek=2147483648 2> /dev/null ;;
*) printf 'a\0b' > "$out"; exit 1 ;;
esac
)");
    auto const of = [](std::string const& url) { return FromRow("0   1       2       " + url); };
    auto const thumbnail = of("http://h/a.png");
    ASSERT_TRUE(thumbnail->DownLoadThumbnailData(nullptr));
    ASSERT_EQ(thumbnail->GetDataSize(), 3);
    EXPECT_EQ(std::string(thumbnail->GetData(), thumbnail->GetData() + 3), std::string("a\0b", 3));
    EXPECT_TRUE(thumbnail->BetterThan(of("http://h/b.png").get()));
    auto const empty = of("http://h/empty.gif");
    EXPECT_TRUE(empty->DownLoadThumbnailData(nullptr));
    LogLines log;
    EXPECT_TRUE(thumbnail->DownLoadThumbnailData(nullptr));
    EXPECT_THAT(log.Take(),
                testing::ElementsAre(testing::HasSubstr("The thumbnail http://h/a.png was downloaded.")));
    EXPECT_TRUE(empty->DownLoadThumbnailData(nullptr));
    EXPECT_EQ(empty->GetDataSize(), 0);
    EXPECT_EQ(std::filesystem::file_size(Path("yt-dlp.runs")), 3 * std::string("run\n").size());
    for (char const* const address :
         {"http://h/none", "http://h/folder", "http://h/huge.jpg", "http://h/gone"}) {
        if (address == std::string("http://h/gone"))
            std::filesystem::remove(Path("yt-dlp"));
        auto const failed = of(address);
        EXPECT_FALSE(failed->DownLoadThumbnailData(nullptr)) << address;
        EXPECT_TRUE(failed->GetDataSize() == 0 && failed->GetData() == nullptr) << address;
    }
}

} // namespace
} // namespace Halvorn
