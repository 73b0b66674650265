#include "HVAppSettings.h"

#include "IHVFileProvider.h"
#include "IHVLogConfig.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

namespace Halvorn {
namespace {

namespace fs = std::filesystem;

class HVAppSettings : public testing::Test {
protected:
    HVAppSettings() : folder_(fs::temp_directory_path() / IHVFileProvider::CreateRandomFileName("set", 12)) {
        fs::create_directories(folder_);
        IHVLogConfig::SetHandler([this](IHVLogConfig::LogLevel level, std::string const& line) {
            if (level >= IHVLogConfig::LogLevelWarning)
                log_ += line + "\n";
        });
    }
    ~HVAppSettings() override {
        IHVLogConfig::SetHandler(nullptr);
        fs::remove_all(folder_);
    }
    std::string File(std::string const& name = "settings.json") const { return folder_ / name; }
    void Put(std::string const& text) const { std::ofstream(File(), std::ios::binary) << text; }
    std::string Get() const {
        std::ostringstream text;
        text << std::ifstream(File(), std::ios::binary).rdbuf();
        return text.str();
    }

    fs::path folder_;
    std::string log_;
};

TEST_F(HVAppSettings, WhatIsSavedIsThereAtTheNextStart) {
    std::string const file = File("new/folders/settings.json");
    auto const settings = MallocAppSettings(file);
    settings->SetBool(true, "a");
    EXPECT_TRUE(settings->GetBool("a"));
    EXPECT_FALSE(MallocAppSettings(file)->GetBool("a")) << "not saved yet";
    settings->Save();
    EXPECT_TRUE(MallocAppSettings(file)->GetBool("a"));
    EXPECT_FALSE(MallocAppSettings(file)->GetBool("never written"));
    settings->SetBool(false, "a");
    settings->Save();
    EXPECT_FALSE(MallocAppSettings(file)->GetBool("a"));
    EXPECT_EQ(std::distance(fs::directory_iterator(fs::path(file).parent_path()), fs::directory_iterator()),
              1);
    EXPECT_EQ(log_, "");
}

TEST_F(HVAppSettings, WhatOthersWroteStays) {
    Put(R"({"theirs": {"deep": [1, 2.5, null]}, "a": false, "text": "\u00e9"})");
    auto const settings = MallocAppSettings(File());
    settings->SetBool(true, "a");
    Put(R"({"theirs": {"deep": [1, 2.5, null]}, "a": false, "text": "\u00e9", "later": true})");
    settings->Save();
    EXPECT_THAT(Get(), testing::HasSubstr("\"deep\""));
    EXPECT_THAT(Get(), testing::HasSubstr("2.5"));
    EXPECT_TRUE(MallocAppSettings(File())->GetBool("later"));
    EXPECT_TRUE(MallocAppSettings(File())->GetBool("a"));
}

TEST_F(HVAppSettings, ADamagedFileReadsAsEmptyAndIsLeftAloneUntilTheNextSave) {
    for (auto const& text : {std::string("{\"a\": true"), std::string("[true]"), std::string("\0\xFF", 2),
                             std::string(2U << 20, ' '), std::string(500'000, '[')}) {
        Put(text);
        log_.clear();
        auto const settings = MallocAppSettings(File());
        EXPECT_FALSE(settings->GetBool("a"));
        EXPECT_EQ(Get(), text);
        EXPECT_THAT(log_, testing::HasSubstr("can't be read"));
        settings->SetBool(true, "b");
        settings->Save();
        EXPECT_TRUE(MallocAppSettings(File())->GetBool("b"));
    }
    Put(R"({"a": "true", "b": 1})");
    EXPECT_FALSE(MallocAppSettings(File())->GetBool("a") || MallocAppSettings(File())->GetBool("b"));
}

TEST_F(HVAppSettings, WhereNothingCanBeWrittenALineInTheLogSaysSo) {
    Put("{}");
    fs::create_directory(File("folder"));
    for (auto const& path :
         {std::string(), File("settings.json/x/settings.json"), File("folder"), std::string("/dev/null")}) {
        log_.clear();
        auto const settings = MallocAppSettings(path);
        settings->SetBool(true, "a");
        settings->Save();
        EXPECT_TRUE(settings->GetBool("a"));
        EXPECT_NE(log_, "") << path;
    }
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(HVAppSettings, ALinkedFileStaysALink) {
    Put("{}");
    fs::create_symlink("settings.json", File("link.json"));
    auto const settings = MallocAppSettings(File("link.json"));
    settings->SetBool(true, "a");
    settings->Save();
    EXPECT_TRUE(fs::is_symlink(File("link.json")));
    EXPECT_TRUE(MallocAppSettings(File())->GetBool("a"));
}

TEST_F(HVAppSettings, TheFileStandsWhereTheEnvironmentSays) {
    for (auto const& [chosen, config, home, expected] : std::vector<std::array<std::string, 4>>{
             {"/chosen.json", "/config", "/home/u", "/chosen.json"},
#ifdef __linux__
             {"", "/config", "/home/u", "/config/reelhaul/settings.json"},
             {"", "relative", "/home/u", "/home/u/.config/reelhaul/settings.json"},
             {"", "", "/home/u", "/home/u/.config/reelhaul/settings.json"},
#endif
             {"", "", "", ""}}) {
        std::map<std::string, std::string> const values = {
            {"REELHAUL_SETTINGS", chosen}, {"XDG_CONFIG_HOME", config}, {"HOME", home}};
        std::map<std::string, std::string> old;
        for (auto const& [name, value] : values) {
            if (char const* const before = std::getenv(name.c_str()))
                old[name] = before;
            setenv(name.c_str(), value.c_str(), 1);
        }
        EXPECT_EQ(SettingsPathFile(), expected);
        for (auto const& entry : values) {
            if (old.count(entry.first) != 0)
                setenv(entry.first.c_str(), old[entry.first].c_str(), 1);
            else
                unsetenv(entry.first.c_str());
        }
    }
}

} // namespace
} // namespace Halvorn
