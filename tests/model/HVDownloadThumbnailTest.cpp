#include "HVDownloadThumbnail.h"
#include "IHVDownloadPlugin.h"
#include "IHVFileProvider.h"
#include "IHVLogConfig.h"
#include "Samples.h"

#include <filesystem>
#include <fstream>

namespace Halvorn {
namespace {

using Data = IHVDownloadThumbnail::ThumbnailDataFormat;

std::string const Head = "ID Width Height URL";

std::shared_ptr<HVDownloadThumbnail> FromJson(std::string const& members) {
    auto thumbnail = std::make_shared<HVDownloadThumbnail>();
    auto const json = std::make_shared<HVJsonObjectThumbnail const>(Node("{" + members + "}"));
    return thumbnail->LoadFromJson(json) ? thumbnail : nullptr;
}

std::shared_ptr<IHVDownloadThumbnail> FromRow(std::string const& url) {
    return IHVDownloadThumbnail::MallocDownloadThumbnail("a  1     2      " + url, Head);
}

TEST(Thumbnail, KnowsItsFormatByTheAddress) {
    struct Row {
        char const* extension;
        Data format;
        char const* shown;
    };
    for (Row const& row : {Row{"jpg", Data::ThumbnailJPEG, "jpg"}, Row{"JPEG", Data::ThumbnailJPEG, "jpg"},
                           Row{"jp2", Data::ThumbnailJPEG, "jpg"}, Row{"webp", Data::ThumbnailWebP, "webp"},
                           Row{"png", Data::ThumbnailPNG, "png"}, Row{"bmp", Data::ThumbnailBMP, "bmp"},
                           Row{"gif", Data::ThumbnailGIF, "gif"}, Row{"tif", Data::ThumbnailTIFF, "tif"},
                           Row{"tiff", Data::ThumbnailTIFF, "tif"}, Row{"xyz", Data::ThumbnailUnknown, ""},
                           Row{"", Data::ThumbnailUnknown, ""}}) {
        auto const thumbnail = FromRow(std::string("http://h/p.") + row.extension + "?q=a.png");
        ASSERT_NE(thumbnail, nullptr) << row.extension;
        EXPECT_EQ(thumbnail->GetDataFormat(), row.format) << row.extension;
        EXPECT_EQ(thumbnail->GetExtension(), row.shown) << row.extension;
        // Only the JSON refuses WebP.
        bool const offered =
            FromJson(R"("id": "a", "url": "http://h/p.)" + std::string(row.extension) + "\"") != nullptr;
        EXPECT_EQ(offered, row.format != Data::ThumbnailWebP) << row.extension;
    }
}

TEST(Thumbnail, LoadsFromJson) {
    EXPECT_FALSE(HVDownloadThumbnail().LoadFromJson(nullptr));
    EXPECT_EQ(FromJson(R"("url": "http://h/a.jpg")"), nullptr);
    EXPECT_EQ(FromJson(R"("id": "a", "url": null)"), nullptr);
    auto const thumbnail = FromJson(R"("id": "a", "url": "http://h/a.jpg", "width": 3, "height": 4)");
    ASSERT_NE(thumbnail, nullptr);
    EXPECT_EQ(thumbnail->GetWidth() * 10 + thumbnail->GetHeight(), 34);
    EXPECT_EQ(thumbnail->GetDownloadURL(), "http://h/a.jpg");
    EXPECT_EQ(thumbnail->GetData(), nullptr);
    EXPECT_EQ(thumbnail->GetDataSize(), 0);
}

TEST(Thumbnail, LoadsFromATableRow) {
    std::string const wide = "ID  Width   Height  URL";
    auto const thumbnail =
        IHVDownloadThumbnail::MallocDownloadThumbnail("12  1920    1080    http://h/a.jpg", wide);
    ASSERT_NE(thumbnail, nullptr);
    EXPECT_EQ(thumbnail->GetWidth() * 10000 + thumbnail->GetHeight(), 19201080);
    EXPECT_EQ(thumbnail->GetDownloadURL(), "http://h/a.jpg");
    auto const unknown = IHVDownloadThumbnail::MallocDownloadThumbnail("0   unknown unknown u more", wide);
    ASSERT_NE(unknown, nullptr);
    EXPECT_EQ(unknown->GetWidth(), 0);
    EXPECT_EQ(unknown->GetDownloadURL(), "u");
    for (char const* const row :
         {"", "0", "0   1920    1080    ", "    1920    1080    u", "0   1920    1080"})
        EXPECT_EQ(IHVDownloadThumbnail::MallocDownloadThumbnail(row, wide), nullptr) << row;
    EXPECT_EQ(IHVDownloadThumbnail::MallocDownloadThumbnail("0  1  2  u", "ID Width Height"), nullptr);
    EXPECT_TRUE(IHVDownloadThumbnail::IsThumbnailInfoToken(wide));
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

/// A tool that writes its output by what the address asks for, put in force as the local copy.
class ThumbnailTool : public testing::Test {
protected:
    void SetUp() override {
        folder_ = IHVFileProvider::AppendPathComponent(IHVFileProvider::GetTmpPath(), "thumbnail tool");
        ASSERT_TRUE(std::filesystem::create_directory(folder_));
        IHVDownloadPlugin::UseLocalPluginForThisProcess(true);
        auto const plugin = IHVDownloadPlugin::SharedDownloadPlugin();
        plugin->SetLocalPluginInstallPath(folder_);
        tool_ = plugin->LocalPluginPathFile();
        std::ofstream(tool_) << R"(#!/bin/sh
echo run >> "$0.runs"
for word; do [ "$last" = --output ] && out=$word; last=$word; done
case $last in
*none*) ;;
*empty*) : > "$out" ;;
*folder*) mkdir "$out" ;;
*huge*) dd if=/dev/zero of="$out" bs=1 count=0 seek=2147483648 2> /dev/null ;;
*) printf 'a\0b' > "$out"; exit 1 ;;
esac
)";
        std::filesystem::permissions(tool_, std::filesystem::perms::owner_all);
    }
    void TearDown() override {
        IHVDownloadPlugin::SharedDownloadPlugin()->SetLocalPluginInstallPath({});
        std::filesystem::remove_all(folder_);
    }
    int Runs() const {
        std::ifstream runs(tool_ + ".runs");
        std::string line;
        int count = 0;
        while (std::getline(runs, line))
            ++count;
        return count;
    }

    std::string folder_;
    std::string tool_;
};

TEST_F(ThumbnailTool, BringsTheBytesOnce) {
    auto const thumbnail = FromRow("http://h/a.png");
    ASSERT_TRUE(thumbnail->DownLoadThumbnailData(nullptr));
    ASSERT_EQ(thumbnail->GetDataSize(), 3);
    EXPECT_EQ(std::string(thumbnail->GetData(), thumbnail->GetData() + 3), std::string("a\0b", 3));
    EXPECT_TRUE(thumbnail->BetterThan(FromRow("http://h/b.png").get()));
    std::string logged;
    IHVLogConfig::SetHandler([&](auto, std::string const& line) { logged += line; });
    EXPECT_TRUE(thumbnail->DownLoadThumbnailData(nullptr));
    IHVLogConfig::SetHandler({});
    EXPECT_EQ(logged, "The thumbnail http://h/a.png was downloaded.");
    EXPECT_EQ(Runs(), 1);
}

TEST_F(ThumbnailTool, DoesNoHarmWithoutAPicture) {
    for (char const* const address : {"http://h/none", "http://h/folder", "http://h/huge.jpg"}) {
        auto const thumbnail = FromRow(address);
        EXPECT_FALSE(thumbnail->DownLoadThumbnailData(nullptr)) << address;
        EXPECT_EQ(thumbnail->GetDataSize(), 0) << address;
        EXPECT_EQ(thumbnail->GetData(), nullptr) << address;
    }
    auto const empty = FromRow("http://h/empty.gif");
    EXPECT_TRUE(empty->DownLoadThumbnailData(nullptr));
    EXPECT_TRUE(empty->DownLoadThumbnailData(nullptr));
    EXPECT_EQ(empty->GetDataSize(), 0);
    EXPECT_EQ(Runs(), 5);
    std::filesystem::remove(tool_);
    EXPECT_FALSE(FromRow("http://h/a.png")->DownLoadThumbnailData(nullptr));
}

} // namespace
} // namespace Halvorn
