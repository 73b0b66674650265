#include "HVAppSettings.h"

#include "Folder.h"
#include "LogLines.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdlib>

namespace Halvorn {
namespace {

namespace fs = std::filesystem;

class HVAppSettings : public testing::Test {
protected:
    /// Sets the value in the settings of a file and saves them.
    static void Save(std::string const& file, bool value, char const* key = "a") {
        auto const settings = MallocAppSettings(file);
        settings->SetBool(value, key);
        EXPECT_EQ(settings->GetBool(key), value);
        settings->Save();
    }
    static bool Saved(std::string const& file, char const* key = "a") {
        return MallocAppSettings(file)->GetBool(key);
    }

    Folder folder_;
    std::string const file_ = folder_ / "settings.json";
    LogLines log_;
};

TEST_F(HVAppSettings, WhatIsSavedIsThereAtTheNextStart) {
    std::string const file = folder_ / "new/folders/settings.json";
    auto const settings = MallocAppSettings(file);
    settings->SetBool(true, "a");
    EXPECT_FALSE(Saved(file)) << "not saved yet";
    settings->Save();
    EXPECT_TRUE(Saved(file));
    EXPECT_FALSE(Saved(file, "never written"));
    Save(file, false);
    EXPECT_FALSE(Saved(file));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "new/folders"), fs::directory_iterator()), 1);
    fs::create_symlink(file, folder_ / "link.json");
    Save(folder_ / "link.json", true);
    EXPECT_TRUE(fs::is_symlink(folder_ / "link.json") && Saved(file));
    EXPECT_THAT(log_.Take(), testing::IsEmpty());
}

TEST_F(HVAppSettings, WhatOthersWroteStays) {
    std::string const theirs = R"({"theirs": {"deep": [1, 2.5, null]}, "a": false, "text": "\u00e9")";
    folder_.Put("settings.json", theirs + "}");
    auto const settings = MallocAppSettings(file_);
    settings->SetBool(true, "a");
    folder_.Put("settings.json", theirs + R"(, "later": true})");
    settings->Save();
    EXPECT_THAT(folder_.Get("settings.json"), testing::ContainsRegex("\"deep\".*2\\.5"));
    EXPECT_TRUE(Saved(file_, "later") && Saved(file_));
}

TEST_F(HVAppSettings, ADamagedFileReadsAsEmptyAndIsLeftAloneUntilTheNextSave) {
    for (auto const& text : {std::string("{\"a\": true"), std::string("[true]"), std::string("\0\xFF", 2),
                             std::string(2U << 20, ' '), std::string(500'000, '[')}) {
        folder_.Put("settings.json", text);
        EXPECT_FALSE(Saved(file_));
        EXPECT_EQ(folder_.Get("settings.json"), text);
        EXPECT_THAT(log_.Take(), testing::Contains(testing::HasSubstr("can't be read")));
        Save(file_, true, "b");
        EXPECT_TRUE(Saved(file_, "b"));
    }
    folder_.Put("settings.json", R"({"a": "true", "b": 1})");
    EXPECT_FALSE(Saved(file_) || Saved(file_, "b"));
}

TEST_F(HVAppSettings, WhereNothingCanBeWrittenALineInTheLogSaysSo) {
    folder_.Put("settings.json", "{}");
    for (auto const& path :
         {std::string(), file_ + "/x/settings.json", folder_.Path(), std::string("/dev/null")}) {
        log_.Take();
        Save(path, true);
        EXPECT_THAT(log_.Take(), testing::Not(testing::IsEmpty())) << path;
    }
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(HVAppSettings, TheFileStandsWhereTheEnvironmentSays) {
    std::array<char const*, 3> const names = {"REELHAUL_SETTINGS", "XDG_CONFIG_HOME", "HOME"};
    std::array<std::string, 3> old;
    for (std::size_t i = 0; i < 3; ++i)
        old[i] = std::getenv(names[i]) == nullptr ? "" : std::getenv(names[i]);
    auto const pathWith = [&names](std::array<std::string, 3> const& values) {
        for (std::size_t i = 0; i < 3; ++i)
            setenv(names[i], values[i].c_str(), 1);
        return SettingsPathFile();
    };
    EXPECT_EQ(pathWith({"/chosen.json", "/config", "/home/u"}), "/chosen.json");
#ifdef __linux__
    EXPECT_EQ(pathWith({"", "/config", "/home/u"}), "/config/reelhaul/settings.json");
    EXPECT_EQ(pathWith({"", "relative", "/home/u"}), "/home/u/.config/reelhaul/settings.json");
    EXPECT_EQ(pathWith({"", "", "/home/u"}), "/home/u/.config/reelhaul/settings.json");
#endif
    EXPECT_EQ(pathWith({"", "", ""}), "");
    pathWith(old);
}

} // namespace
} // namespace Halvorn
