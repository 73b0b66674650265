#include "RunCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <rapidjson/document.h>
#include <regex>
#include <sstream>
#include <unistd.h>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

// An item with a merged format (0), a combined one (1), a sound (2); a title that would turn a terminal red,
// rename its window and turn the direction of writing; subtitles in one language.
constexpr char const* kItem =
    R"({"id": "i", "title": "A \u001b[31m\u001b]0;owned\u0007\u202e\u009b\u65e5\u672c 100%s", "duration": 65,
"formats": [
 {"format_id": "v", "ext": "mp4", "vcodec": "avc1.1", "acodec": "none", "resolution": "640x360", "width": 640, "height": 360, "fps": 29.97, "filesize": 1000},
 {"format_id": "a", "ext": "m4a", "vcodec": "none", "acodec": "mp4a.40", "resolution": "audio only", "filesize": 500, "abr": 64},
 {"format_id": "7", "ext": "mp4", "vcodec": "avc1.1", "acodec": "mp4a.40", "resolution": "320x180", "width": 320, "height": 180, "filesize": 400}],
"automatic_captions": {"en": [{"ext": "vtt", "url": "http://127.0.0.1/en.vtt", "name": "English"}]}})";

constexpr char const* kItemScript = "when -J\n file item.json\nunless -J\n progress 25.0\n write . 1000\n";

std::vector<std::string> Lines(std::string const& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

bool Has(std::vector<std::string> const& arguments, std::string_view front) {
    return std::any_of(arguments.begin(), arguments.end(),
                       [front](std::string const& argument) { return argument.starts_with(front); });
}

class CommandTest : public testing::Test {
protected:
    CommandTest() {
        run_.Script("item.json", kItem);
        std::string script = kItemScript;
        run_.Script("item", std::regex_replace(script, std::regex("\n "), "\n"));
        run_.Script("list.json", R"({"_type": "playlist", "title": "L", "id": "l", "entries": [
{"url": "script:item"}, {"url": "scripted:err ERROR: gone"}, {"url": "script:item"}]})");
        run_.Script("list", "file list.json\n");
    }
    CommandResult Get(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "get");
        arguments.insert(arguments.end(), {"-o", run_.Path("out")});
        return run_.Run(std::move(arguments));
    }
    CommandRun run_;
};

TEST_F(CommandTest, WrongUsageIsTwoAndStartsNothing) {
    struct Row {
        std::vector<std::string> arguments;
        char const* says;
    };
    std::string const huge = "99999999999999999999";
    std::vector<Row> const rows{
        {{}, "subcommand"},
        {{"fetch"}, "no command \"fetch\""},
        {{"info"}, "URL"},
        {{"info", ""}, "address is empty"},
        {{"get", "x"}, "--output"},
        {{"get", "x", "-o", "o", "--jobs", "0"}, "1 to 256"},
        {{"get", "x", "-o", "o", "--items", "3-1"}, "1,3-5"},
        {{"get", "x", "-o", "o", "--name", ""}, "empty"},
        {{"info", "x", "--tool", "/no such"}, "/no such"},
        {{"info", "x", "--js-runtime", "/no such"}, "/no such"},
        {{"info", "x", "--cookies", "/no such"}, "/no such"},
        {{"info", "x", "--client-certificate", "/no such"}, "/no such"},
        {{"info", "x", "--netrc-location", "/no such"}, "/no such"},
        {{"info", "x", "--cookies-from-browser", "lynx"}, "firefox"},
        {{"info", "x", "--socket-timeout", "-5"}, "\"-5\""},
        {{"info", "x", "--socket-timeout", "5s"}, "\"5s\""},
        {{"get", "x", "-o", "o", "--retries", huge}, "1000000"},
        {{"get", "x", "-o", "o", "--limit-rate", "9000G"}, "9000G"},
        {{"get", "x", "-o", "o", "--limit-rate", "1K", "--throttled-rate", "2K"}, "above"},
        {{"info", "x", "--limit-rate", "1"}, "--limit-rate"},
        {{"info", "x", "--proxy", ""}, "empty"},
        {{"info", "x", "--proxy=-x"}, "begins with"},
        {{"info", "x", "--proxy", "ftp://h"}, "socks5://"},
        {{"info", "x", "--proxy", "http://"}, "host"},
        {{"info", "x", "--proxy", "http://h:0"}, "65535"},
        {{"info", "x", "--proxy", "http://:p@h"}, "user name"},
        {{"info", "x", "--proxy", "http://h/path"}, "nothing may follow"},
        {{"info", "x", "--username", "u"}, "--password"},
        {{"info", "x", "--username", "u", "--password", "-"}, "standard input"},
        {{"info", "x", "--password", "p"}, "--username"},
        {{"info", "x", "--username", "u", "--password", "p", "--netrc"}, "only one"},
        {{"info", "x", "--force-ipv4", "--force-ipv6"}, "together"},
        {{"info", "x", "--source-address", std::string(120000, '1')}, "too long"},
    };
    for (auto const& [arguments, says] : rows) {
        auto const result = run_.Run(arguments, false);
        EXPECT_EQ(result.status, 2) << says;
        EXPECT_THAT(Lines(result.err), ElementsAre(HasSubstr(says)));
        EXPECT_EQ(result.out, "");
    }
    EXPECT_TRUE(run_.Starts().empty());
}

TEST_F(CommandTest, EveryOptionReachesTheToolAsItsDocumentationSays) {
    auto const table = run_.Run({"option-table"}, false);
    std::ifstream file(REELHAUL_SOURCE_DIR "/docs/options.md");
    EXPECT_EQ(table.out, std::string(std::istreambuf_iterator<char>(file), {}));
    run_.Script("cookies.txt", "# Netscape HTTP Cookie File\n");
    std::map<std::string, std::string> const samples{{"URL", "socks5://me:a@b@h:1080/"},
                                                     {"SECONDS", "7"},
                                                     {"IP", "127.0.0.1"},
                                                     {"VALUE", "never"},
                                                     {"NAME", "firefox"},
                                                     {"TEXT", "-s"},
                                                     {"CODE", "123"},
                                                     {"COMMAND", "true"},
                                                     {"ID", "com130 - 02"},
                                                     {"RATE", "2097152"},
                                                     {"COUNT", "3"},
                                                     {"SIZE", "65536"},
                                                     {"PATH", run_.Path("scripts/cookies.txt")},
                                                     {"FILE", run_.Path("scripts/cookies.txt")}};
    std::map<std::string, std::vector<std::string>> complete;
    std::regex const row(R"(\| `(--[a-z0-9-]+) ?([A-Z]*)` \| (.*) \| `[^|]+ \| `[^|]+ \| `(.*)` \|)");
    for (std::string const& line : Lines(table.out)) {
        std::smatch parts;
        if (!std::regex_match(line, parts, row))
            continue;
        std::string const name = parts[1];
        auto& arguments = complete[name];
        std::smatch needs;
        std::string const text = parts[3];
        if (std::regex_search(text, needs, std::regex("only beside `(.*)`")))
            arguments = complete.at(needs[1]);
        std::string const sample = parts[2].length() > 0 ? samples.at(parts[2]) : "";
        std::string option = name;
        if (!sample.empty())
            option.append("=").append(sample);
        arguments.push_back(option);
        std::filesystem::remove(run_.Path("scripts/starts"));
        auto given = arguments;
        given.emplace_back("script:item");
        // An account wants its password as well.
        for (auto const& [account, password] :
             {std::pair{"--username=", "--password="}, std::pair{"--ap-username=", "--ap-password="}})
            if (Has(arguments, account) && !Has(arguments, password))
                given.push_back(std::string(password) + "p");
        auto const result = Get(given);
        ASSERT_EQ(result.status, 0) << name << ": " << result.err;
        auto const download = run_.Starts().back();
        std::istringstream words(std::regex_replace(std::string(parts[4]), std::regex("[`,]"), ""));
        for (std::string argument; words >> argument;) {
            auto const found = std::find(download.begin(), download.end(), argument);
            if (name == "--check-certificates") {
                EXPECT_EQ(found, download.end());
                continue;
            }
            ASSERT_NE(found, download.end()) << name;
            if (!sample.empty()) {
                EXPECT_EQ(*(found + 1), sample) << name;
            }
        }
    }
    EXPECT_EQ(complete.size(), 32U);
}

TEST_F(CommandTest, InfoShowsAnItem) {
    auto const text = run_.Run({"info", "script:item"});
    EXPECT_EQ(text.status, 0);
    EXPECT_EQ(text.err, "");
    EXPECT_THAT(text.out, HasSubstr("Title:      A 日本 100%s\n"));
    EXPECT_THAT(text.out, HasSubstr("00:01:05"));
    EXPECT_THAT(text.out, HasSubstr("1.5 KiB  v+a\n"));
    EXPECT_THAT(text.out, HasSubstr("  en    English   vtt\n"));
    EXPECT_THAT(text.out, Not(HasSubstr("\x1b")));

    auto const json = run_.Run({"info", "--json", "script:item"});
    rapidjson::Document document;
    document.Parse(json.out.c_str());
    ASSERT_FALSE(document.HasParseError());
    EXPECT_STREQ(document["kind"].GetString(), "item");
    EXPECT_STREQ(document["title"].GetString(), "A \x1b[31m\x1b]0;owned\a\u202e\u009b日本 100%s");
    EXPECT_THAT(json.out, Not(HasSubstr("\u009b")));
    EXPECT_EQ(document["duration_seconds"].GetInt(), 65);
    auto const& merged = document["formats"][0];
    EXPECT_STREQ(merged["code"].GetString(), "v+a");
    EXPECT_TRUE(merged["merged"].GetBool());
    EXPECT_EQ(merged["fps"].GetDouble(), 29.97);
    EXPECT_EQ(merged["size"].GetInt(), 1500);
    EXPECT_TRUE(document["thumbnail"].IsNull());
    EXPECT_STREQ(document["subtitles"][0]["formats"][0].GetString(), "vtt");
}

TEST_F(CommandTest, InfoShowsAPlayListAndCountsWhatDidNotLoad) {
    auto const text = run_.Run({"info", "script:list"});
    EXPECT_EQ(text.status, 0);
    EXPECT_THAT(text.out, HasSubstr("Playlist:   L\n"));
    EXPECT_THAT(text.out, HasSubstr("    3  00:01:05  A 日本"));
    EXPECT_THAT(Lines(text.err), ElementsAre(HasSubstr("1 of 3 items could not be loaded (2)")));
    rapidjson::Document document;
    document.Parse(run_.Run({"info", "--json", "script:list"}).out.c_str());
    ASSERT_FALSE(document.HasParseError());
    EXPECT_EQ(document["items"].Size(), 2U);
}

TEST_F(CommandTest, GetTakesTheFormatAskedFor) {
    struct Row {
        char const* wish;
        char const* code; ///< null: there is none
        char const* ending;
    };
    for (auto const& [wish, code, ending] :
         {Row{"best", "v+a", ".mp4"}, Row{"0", "v+a", ".mp4"}, Row{"1", "7", ".mp4"}, Row{"7", "7", ".mp4"},
          Row{"v+a", "v+a", ".mp4"}, Row{"audio", "a", ".m4a"}, Row{"2", "a", ".m4a"},
          Row{"code:2", nullptr, ""}, Row{"3", nullptr, ""}}) {
        std::filesystem::remove(run_.Path("scripts/starts"));
        auto const result = Get({"script:item", "--format", wish, "--quiet"});
        EXPECT_EQ(result.status, code != nullptr ? 0 : 1) << wish;
        if (code == nullptr) {
            EXPECT_THAT(result.err, HasSubstr("the codes v+a, 7, a"));
            continue;
        }
        EXPECT_EQ(result.err, "");
        EXPECT_THAT(run_.Starts().back(), Contains(code));
        auto const lines = Lines(result.out);
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_TRUE(lines[0].ends_with(ending));
        EXPECT_EQ(std::filesystem::file_size(lines[0]), 1000U);
    }
}

TEST_F(CommandTest, GetTellsItsEventsInOrder) {
    auto const result = Get({"script:list", "scripted:err ERROR: [x] gone", "--items", "2-3,9", "--json"});
    EXPECT_EQ(result.status, 1);
    std::vector<std::string> events;
    for (std::string const& line : Lines(result.out)) {
        rapidjson::Document event;
        event.Parse(line.c_str());
        ASSERT_FALSE(event.HasParseError()) << line;
        events.emplace_back(event["event"].GetString());
        if (event.HasMember("message"))
            events.back() += std::string(": ") + event["message"].GetString();
    }
    // Downloads and analyses run at the same time: each has an order of its own.
    std::vector<std::string> download;
    std::vector<std::string> analysis;
    for (std::string const& event : events)
        (event == "analysed" || event.starts_with("failed") ? analysis : download).push_back(event);
    EXPECT_THAT(download, ElementsAre("started", "progress", "finished"));
    EXPECT_THAT(analysis, ElementsAre("analysed", "failed: 1 of 3 items could not be loaded (2)",
                                      "failed: there is no item 9; the playlist has 3", "failed: [x] gone"));
    EXPECT_THAT(Lines(result.err), Contains("reelhaul: scripted:err ERROR: [x] gone: [x] gone"));
}

TEST_F(CommandTest, SubtitlesAreCheckedBeforeAndAfter) {
    EXPECT_THAT(Get({"script:item", "--subtitle", "fr"}).err, HasSubstr("there are en"));
    EXPECT_THAT(Get({"script:item", "--subtitle", "en.srt"}).err, HasSubstr("en comes as vtt"));
    auto const none = Get({"script:item", "--subtitle", "en"});
    EXPECT_EQ(none.status, 1);
    EXPECT_THAT(none.err, HasSubstr("delivered no subtitles"));
    run_.Script("item", "when -J\nfile item.json\nunless -J\nwrite . 10\nwrite .en.vtt 5\n");
    auto const both = Get({"script:item", "--subtitle", "en.vtt", "--name", "n"});
    EXPECT_EQ(both.status, 0);
    EXPECT_THAT(Lines(both.out), ElementsAre(run_.Path("out/n.mp4"), run_.Path("out/n.en.vtt")));
}

TEST_F(CommandTest, AMissingToolIsNamedAndNothingStarts) {
    std::filesystem::remove(run_.Path("tools/ffmpeg"));
    EXPECT_EQ(Get({"script:item", "--format", "audio"}).status, 0);
    EXPECT_THAT(Get({"script:item"}).err, HasSubstr(run_.Path("tools/ffmpeg")));
    std::filesystem::remove(run_.Path("tools/yt-dlp"));
    auto const result = run_.Run({"info", "script:item"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(Lines(result.err), ElementsAre(HasSubstr(run_.Path("tools/yt-dlp"))));
}

TEST_F(CommandTest, PasswordsComeFromStandardInputLineByLine) {
    auto const result = run_.Run({"get", "script:item", "-o", run_.Path("out"), "--username", "u",
                                  "--password", "-", "--video-password", "-"},
                                 true, "one\r\ntwo\n");
    EXPECT_EQ(result.status, 0) << result.err;
    auto const start = run_.Starts().back();
    EXPECT_EQ(*(std::find(start.begin(), start.end(), "--password") + 1), "one");
    EXPECT_EQ(*(std::find(start.begin(), start.end(), "--video-password") + 1), "two");
}

TEST_F(CommandTest, AnInterruptEndsAllAndLeavesNothing) {
    run_.Script("item", "when -J\nfile item.json\nunless -J\nwrite .part 10\ntouch runs\nhang\n");
    for (int const signal : {SIGINT, SIGTERM}) {
        std::filesystem::remove(run_.Path("scripts/runs"));
        auto const result =
            run_.Run({"get", "script:item", "script:item", "--jobs", "1", "--json", "-o", run_.Path("out")},
                     true, {}, [this, signal](int child) {
                         // What the tool's script touches tells that the download runs.
                         while (!std::filesystem::exists(run_.Path("scripts/runs")))
                             usleep(1000);
                         kill(child, signal);
                         kill(child, signal);
                     });
        EXPECT_EQ(result.status, 130);
        EXPECT_THAT(Lines(result.err), ElementsAre("Interrupted."));
        EXPECT_THAT(result.out, HasSubstr(R"({"event":"cancelled","id":1)"));
        EXPECT_TRUE(std::filesystem::is_empty(run_.Path("out")));
    }
}

TEST_F(CommandTest, ProvidersAreListedAndSearched) {
    EXPECT_EQ(Lines(run_.Run({"providers"}, false).out).size(), 434U);
    EXPECT_EQ(run_.Run({"providers", "u - VERSE"}, false).out, "ATT  AT & T U - verse\n");
    EXPECT_EQ(run_.Run({"providers", "no such provider"}, false).status, 1);
}

TEST_F(CommandTest, ResultsThatCantBeWrittenAreAFault) {
    run_.output = "/dev/full";
    auto const result = run_.Run({"info", "script:item"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(Lines(result.err), ElementsAre(HasSubstr("standard output")));
}

} // namespace
