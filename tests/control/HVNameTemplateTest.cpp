#include "HVNameTemplate.h"

#include "Folder.h"
#include "HVDownloadItem.h"
#include "HVJsonObjectPlayList.h"
#include "HVPlayList.h"
#include "HVSubfolder.h"
#include "model/Samples.h"

namespace Halvorn {
namespace {

namespace fs = std::filesystem;

struct NameRow {
    std::string title, uploader, playlist;
    std::string text, expected;
    std::string id = "i9";
    int place = 7;
};

TEST(NameTemplate, MakesPathsThatAreLegalAndStayInTheFolder) {
    std::string const wide = "\xE6\x97\xA5"; // three bytes
    std::string const longest(400, 'x');
    std::string manyWide;
    for (int i = 0; i < 100; ++i)
        manyWide += wide;
    NameRow const rows[] = {
        {"T", "U", "P", "{playlist}/{index} {title} [{id}] {date} {height} {language}",
         "P/007 T [i9] 2026-01-31 1080 fr"},
        {"a/b", "../..", "..", "{playlist}/{uploader}/{title}", "_/a_b"},
        {"T", "/etc", "/", "{uploader}/x/{playlist}/{title}", "_etc/x/_/T"},
        {"..", "", "CON", "{playlist}/{uploader}/{title}", "_CON/download"},
        {"T\nU\x7F", "a\\b:c", "nul.txt", "{playlist}/{uploader}{{{title}}}", "_nul.txt/a_b_c{T U}"},
        {"T", "", "", "{playlist}/{uploader}/{title}", "T"},
        {"T", "", "", "{uploader} - {title}", "T"},
        {"T", "", "", "{title} - {uploader}", "T"},
        {"T", "", "", "{title} ({uploader}) [{id}]", "T [i9]"},
        {"T -", "", "", "{title} - {uploader}", "T -"},
        {"T", "", "", "{index}. {title} by {uploader}", "T by", "i9", 0},
        {"T", "", "", "{id} - {uploader} - {title}", "i9 - T"},
        {"T", "", "", "{uploader}{playlist}", "T"},
        // The longest value is cut, so that the identifier stays; between code points.
        {longest, "U", "P", "{title} [{id}]", std::string(206, 'x') + " [i9]"},
        {manyWide, "U", "P", "{id} {title}", "i9 " + manyWide.substr(0, std::size_t{69} * 3)},
        {"T", "U", longest, "{playlist}/{title}", std::string(215, 'x') + "/T"},
        {"T", "U", "P", longest, std::string(211, 'x')},
    };
    auto const format = Format(R"("ext":"mp4","vcodec":"v","acodec":"a","width":1920,"height":1080,
        "language":"fr")");
    for (auto const& row : rows) {
        HVDownloadItem item({format}, "u");
        item.SetFileName(row.title);
        HVItemDetails details;
        details.uploader = row.uploader;
        details.uploadDate = "20260131";
        details.id = row.id;
        item.TakeDetails(details, {});
        if (row.place > 0) {
            auto const list = std::make_shared<HVPlayList>("l", std::make_shared<HVJsonObjectPlayList>());
            list->SetEntryCount(120);
            item.SetPlayList(list, row.place - 1);
        }
        details = *item.Details();
        details.playlistTitle = row.playlist;
        item.TakeDetails(details, {});
        EXPECT_EQ(HVNameTemplate::PathOf(row.text, *item.CopyForRun()), row.expected) << row.text;
    }
}

TEST(NameTemplate, SaysWhatIsWrong) {
    std::pair<char const*, char const*> const rows[] = {
        {"{titel}",
         "no field {titel}; the fields are {title}, {uploader}, {date}, {id}, {playlist}, {index}, "
         "{height}, {language}"},
        {"{}", "no field {}"},
        {"{title", "without its \"}\""},
        {"title}", "without its \"{\""},
        {"", "missing"},
        {"{playlist}/", "missing"},
        {"/{title}", "begins with"},
        {"../{title}", "\"..\" is no"},
        {"a/./b", "\".\" is no"},
    };
    for (auto const& [text, fault] : rows) {
        EXPECT_THAT(HVNameTemplate::Check(text)->GetErrorMessage(), testing::HasSubstr(fault)) << text;
        EXPECT_EQ(HVNameTemplate::PathOf(text, HVDownloadItem("u")), "");
    }
}

TEST(Subfolder, IsNeverReachedThroughALinkThatLeadsOut) {
    Folder const root;
    Folder const outside;
    fs::create_directory(root / "real");
    fs::create_directory_symlink(outside.Path(), root / "out");
    fs::create_directory_symlink(root / "real", root / "in");
    fs::create_directory_symlink(root / "nowhere", root / "broken");
    root.Put("file", "");
    std::pair<std::vector<std::string>, char const*> const rows[] = {
        {{"a", "b"}, "a/b"},   {{"real", "b"}, "real/b"},  {{"out", "b"}, "out (1)/b"},
        {{"in", "c"}, "in/c"}, {{"broken"}, "broken (1)"}, {{"file"}, "file (1)"},
    };
    for (auto const& [names, expected] : rows) {
        EXPECT_EQ(FindSubfolder(root.Path(), names), "");
        EXPECT_EQ(MakeSubfolder(root.Path(), names).path, root / expected);
        EXPECT_EQ(FindSubfolder(root.Path(), names), root / expected);
    }
    EXPECT_EQ(outside.Count(), 0);
    EXPECT_THAT(MakeSubfolder(root / "missing", {"a"}).failure, testing::HasSubstr("Can't make the folder"));
}

} // namespace
} // namespace Halvorn
