#include "HVAppSettings.h"

#include "Folder.h"
#include "LogLines.h"

#include <gmock/gmock.h>

#include <cstdlib>

#include <sys/stat.h>

namespace Halvorn {
namespace {

namespace fs = std::filesystem;

class HVAppSettings : public testing::Test {
protected:
    /// Sets the value in the settings of a file and saves them.
    static void Save(std::string const& file, bool value) {
        auto const settings = MallocAppSettings(file);
        settings->SetBool(value, "a");
        settings->Save();
    }
    static bool Saved(std::string const& file) { return MallocAppSettings(file)->GetBool("a"); }

    Folder folder_;
    std::string const file_ = folder_ / "settings.json";
    LogLines log_;
};

TEST_F(HVAppSettings, WhatIsSavedIsThereAtTheNextStart) {
    std::string const file = folder_ / "new/folders/settings.json";
    for (bool const value : {true, false}) {
        Save(file, value);
        EXPECT_EQ(Saved(file), value);
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "new/folders"), fs::directory_iterator()), 1);
    fs::create_symlink(file, folder_ / "link.json");
    Save(folder_ / "link.json", true);
    EXPECT_TRUE(fs::is_symlink(folder_ / "link.json") && Saved(file));
    EXPECT_THAT(log_.Take(), testing::IsEmpty());
}

TEST_F(HVAppSettings, WhatOthersWroteStays) {
    std::string const theirs = R"({"theirs": {"deep": [1, 2.5, null]}, "a": false, "text": "\u00e9")";
    folder_.Put("settings.json", theirs + R"(, "switch": false})");
    auto const settings = MallocAppSettings(file_);
    settings->SetBool(true, "a");
    folder_.Put("settings.json", theirs + R"(, "switch": true, "later": 77})");
    settings->Save();
    EXPECT_THAT(folder_.Get("settings.json"), testing::ContainsRegex("\"deep\".*2\\.5.*77"));
    EXPECT_TRUE(Saved(file_));
    EXPECT_TRUE(MallocAppSettings(file_)->GetBool("switch"))
        << "another program's key has its old value again";
}

TEST_F(HVAppSettings, ADamagedFileReadsAsEmptyAndIsLeftAloneUntilTheNextSave) {
    for (auto const& text : {std::string("{\"a\": true"), std::string("[true]"), std::string("\0\xFF", 2),
                             std::string(2U << 20, ' '), std::string(500'000, '[')}) {
        folder_.Put("settings.json", text);
        EXPECT_FALSE(Saved(file_));
        EXPECT_EQ(folder_.Get("settings.json"), text);
        EXPECT_THAT(log_.Take(), testing::Contains(testing::HasSubstr("can't be read")));
        Save(file_, true);
        EXPECT_TRUE(Saved(file_));
    }
    folder_.Put("settings.json", R"({"a": "true"})");
    EXPECT_FALSE(Saved(file_));
}

TEST_F(HVAppSettings, WhereNothingCanBeWrittenALineInTheLogSaysSo) {
    folder_.Put("settings.json", "{}");
    // Nobody writes into the pipe: a reader that waited for it would wait for ever.
    ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
    for (auto const& path : {std::string(), file_ + "/x/settings.json", folder_.Path(),
                             std::string("/dev/null"), folder_ / "pipe"}) {
        log_.Take();
        Save(path, true);
        EXPECT_THAT(log_.Take(), testing::Not(testing::IsEmpty())) << path;
    }
    EXPECT_TRUE(fs::is_character_file("/dev/null") && fs::is_fifo(folder_ / "pipe"));
}

TEST_F(HVAppSettings, TheFileStandsWhereTheEnvironmentSays) {
    setenv("REELHAUL_SETTINGS", "", 1);
    setenv("XDG_CONFIG_HOME", "relative", 1);
    setenv("HOME", "/home/u", 1);
#ifdef __linux__
    EXPECT_EQ(SettingsPathFile(), "/home/u/.config/reelhaul/settings.json");
#endif
    setenv("HOME", "", 1);
    EXPECT_EQ(SettingsPathFile(), "");
}

} // namespace
} // namespace Halvorn
