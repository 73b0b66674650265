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
    for (auto const& [extension, expected] :
         Rows{{"JPEG", "jpg"}, {"jp2", "jpg"}, {"webp", "webp"}, {"tiff", "tif"}, {"xyz", ""}, {"", ""}}) {
        auto const thumbnail = FromRow("a   1       2       http://h/p." + extension + "?q=a.png");
        ASSERT_NE(thumbnail, nullptr) << extension;
        EXPECT_EQ(thumbnail->GetExtension(), expected) << extension;
        // Only the JSON refuses WebP.
        EXPECT_EQ(FromJson(R"("id": "a", "url": "http://h/p.)" + extension + "\"") != nullptr,
                  expected != "webp");
    }
}

TEST(Thumbnail, LoadsFromJsonOrATableRow) {
    for (auto const& [members, expected] :
         Rows{{R"("id": "a", "url": "u.jpg", "width": 3, "height": 4)", "3|4|u.jpg|0"},
              {R"("url": "http://h/a.jpg")", "none"},
              {R"("id": "a", "url": null)", "none"}})
        EXPECT_EQ(Shown(FromJson(members)), expected);
    for (auto const& [row, expected] :
         Rows{{"12  1920    1080    http://h/a.jpg", "1920|1080|http://h/a.jpg|0"},
              {"0   unknown unknown u more", "0|0|u|0"},
              {"日本  1920    1080    ü.jpg", "1920|1080|ü.jpg|0"},
              {"", "none"},
              {"0   1920    1080    ", "none"},
              {"    1920    1080    u", "none"}})
        EXPECT_EQ(Shown(FromRow(row)), expected) << row;
    EXPECT_EQ(IHVDownloadThumbnail::MallocDownloadThumbnail("0  1  2  u", "ID Width Height"), nullptr);
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
*) printf 'a\0b' > "$out"; exit 1 ;;
esac
)");
    LogLines const log;
    for (auto const& [name, bytes] : Rows{{"a", std::string("a\0b", 3)}, {"empty", ""}}) {
        auto const thumbnail = FromRow("0   1       2       http://h/" + name + ".png");
        for (int time = 0; time < 2; ++time) {
            EXPECT_TRUE(thumbnail->DownLoadThumbnailData(nullptr));
            EXPECT_EQ(std::string(thumbnail->GetData(), thumbnail->GetData() + thumbnail->GetDataSize()),
                      bytes);
        }
        EXPECT_EQ(thumbnail->BetterThan(FromRow("0   1       2       http://h/b.png").get()), name == "a");
    }
    EXPECT_EQ(std::filesystem::file_size(Path("yt-dlp.runs")), 3 * std::string("run\n").size());
    for (char const* const name : {"none", "folder", "gone"}) {
        if (name == std::string("gone"))
            std::filesystem::remove(Path("yt-dlp"));
        auto const failed = FromRow("0   1       2       http://h/" + std::string(name));
        EXPECT_FALSE(failed->DownLoadThumbnailData(nullptr)) << name;
        EXPECT_TRUE(failed->GetDataSize() == 0 && failed->GetData() == nullptr) << name;
    }
}

} // namespace
} // namespace Halvorn
