#include "LogLines.h"
#include "ScriptedTool.h"
#include "Text.h"

#include "HVDownloadTaskParser.h"
#include "IHVDownloadOptions.h"
#include "IHVNetworkOptions.h"

#include <mutex>
#include <set>
#include <stdexcept>

using namespace Halvorn;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::string const kSucceed = "Succeed: Operation was succeed";
std::string const kFormats = R"("formats":[{"format_id":"18","ext":"mp4","vcodec":"h264","acodec":"aac"}])";

/// A document, or a whole entry; `more` begins with a comma.
std::string Whole(std::string const& title, std::string const& more = {}) {
    return R"({"title":")" + title + R"(","url":"file","format_id":"18",)" + kFormats + more + "}";
}

std::string List(std::string const& name, std::string const& entries, char const* type = "playlist") {
    return std::string(R"({"_type":")") + type + R"(","title":")" + name + R"(","webpage_url":"script:)" +
           name + R"(","entries":[)" + entries + "]}";
}

std::string Link(std::string const& name, std::string const& more = {}) {
    return R"({"_type":"url","url":"script:)" + name + "\"" + more + "}";
}

} // namespace

/// The parameter is how many entries are loaded at once.
class FullAnalysis : public ScriptedTool, public testing::WithParamInterface<int> {
protected:
    FullAnalysis() {
        Put("one", "line " + Whole("One"));
        Put("bad", "line null\nerrline ERROR: gone\nexit 1");
    }

    /// What the delegate heard behind the start, without progress, and with each item's place and address.
    std::string Run(std::string const& url, std::function<void(IHVDownloadTask&)> const& setUp = {}) {
        auto const task = IHVDownloadTask::MallocDownloadTask(url);
        recorder_ = std::make_unique<Recorder>();
        task->SetDelegate(recorder_.get());
        task->SetFullAnalysis(true);
        task->SetAnalysesAtOnce(GetParam());
        if (setUp)
            setUp(*task);
        EXPECT_TRUE(task->StartTask()->Succeed());
        EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
        failed_ = task->FailedEntries();
        std::string story;
        auto item = recorder_->items.begin();
        for (auto const& event : recorder_->Events()) {
            if (event.find("%: ") != std::string::npos || event.starts_with("started"))
                continue;
            story += (story.empty() ? "" : "|") + event;
            if (event.starts_with("item "))
                story +=
                    "@" + std::to_string((*item)->GetEntryIndexOfPlayList()) + "," + (*item)->DownloadURL(),
                    ++item;
        }
        return story;
    }

    std::unique_ptr<Recorder> recorder_;
    std::vector<IHVDownloadTask::FailedEntry> failed_;
    LogLines log_;
};

TEST_P(FullAnalysis, TakesDocumentsAndEntriesAsTheToolDoes) {
    std::string const oneFile = R"({"title":"F","url":"http://h/f.mp4","ext":"mp4","format_id":"0"})";
    std::string const ownPage = R"(,"webpage_url":"http://h/own")";
    for (auto const& [script, expected, runs] :
         std::vector<std::tuple<std::string, std::string, std::size_t>>{
             {oneFile, "item F@-1,script:row|" + kSucceed, 1},
             {R"({"title":"F","formats":[]})", "Error: err:Unknown error, please try again later.", 1},
             // The addresses of whole entries are those of files. One has a page of its own, two share one.
             {List("L", Whole("A") + "," + Whole("B", ownPage) + "," + oneFile),
              "item A@0,|item B@1,http://h/own|item F@2,|playlist L of 3|" + kSucceed, 1},
             {List("L", Whole("A", ownPage) + "," + Whole("B", ownPage), "multi_video"),
              "item A@0,|item B@1,|playlist L of 2|" + kSucceed, 1},
             {List("L", Link("one", R"(,"title":"Other")") +
                            R"(,{"_type":"url_transparent","url":"script:one",)"
                            R"("title":"Feed","duration":7})"),
              "item One@0,script:one|item Feed@1,script:one|playlist L of 2|" + kSucceed, 3},
             {List("L", ""), "Error: NO play list item found.", 1},
             {List("L", Link("bad")), "Error: ERROR: gone\n", 2}}) {
        Put("row", "line " + script);
        auto const before = Starts().size();
        EXPECT_EQ(Run("script:row"), expected) << script;
        EXPECT_EQ(Starts().size() - before, runs) << script;
    }
    Put("row", "unless --playlist-items\nline " + List("L", "null") + "\nwhen --playlist-items 1\nline " +
                   List("L", oneFile));
    EXPECT_EQ(Run("script:row"), "item F@0,|playlist L of 1|" + kSucceed);
    EXPECT_EQ(recorder_->items[0]->GetDownloadFormatAtIndex(0)->FormatCode(), "0");
}

TEST_P(FullAnalysis, TellsOfListsInsideAListAndGoesIntoThem) {
    std::string const inner = List("inner", Whole("I1") + "," + Whole("I2"));
    Put("inner", "line " + inner);
    Put("named", "line " + List("named", Link("one")));
    Put("row", "line " + List("row", inner + "," + Link("inner") + "," + Link("row") + "," +
                                         R"({"_type":"playlist","title":"N","webpage_url":"script:named"})"));
    auto const lists = [this] {
        std::string text;
        for (auto const& list : recorder_->playList->Lists())
            text += list->GetPlaylistURL() + " " + std::to_string(list->GetDownloadItemCount()) + ",";
        return text;
    };
    EXPECT_EQ(Run("script:row"), "playlist row of 0|" + kSucceed);
    EXPECT_EQ(lists(), "script:inner 0,script:inner 0,script:row 0,script:named 0,");
    // Neither the list itself nor one that was gone into is gone into again.
    EXPECT_EQ(Run("script:row", [](auto& task) { task.SetListDepth(2); }),
              "item I1@0,|item I2@1,|item One@0,script:one|playlist row of 3|" + kSucceed);
    EXPECT_EQ(lists(), "script:inner 2,script:inner 0,script:row 0,script:named 1,");
    EXPECT_EQ(recorder_->items[1]->GetPlaylistURL(), "script:inner");
    EXPECT_THAT(Starts().back(), HasSubstr("--flat-playlist"));
    float last = 0;
    for (auto const& event : recorder_->Events())
        if (auto const at = event.find("%: "); at != std::string::npos) {
            EXPECT_GE(std::stof(event), last);
            last = std::stof(event);
        }
    EXPECT_EQ(last, 100.0F);
}

TEST_P(FullAnalysis, LoadsTheEntriesThatAreWanted) {
    std::string const listed =
        Link("one", R"(,"id":"a","title":"T","duration":9.5,"timestamp":1767225600,"ie_key":"E",)"
                    R"("thumbnails":[{"url":"small"},{"url":"large"}])") +
        "," + Link("bad") + "," + List("inner", Whole("I1")) + "," + Whole("W");
    Put("row", "line " + List("row", listed));
    std::string told;
    auto const tell = [&told](IHVDownloadTask& task) {
        task.SetListFunc([&told](auto const& list, auto const& entries) {
            told = list->GetTitle() + " " + std::to_string(list->EntryCount()) + ":";
            for (HVListEntry const& e : entries)
                told += Text(e.number, e.kind, e.whole, e.title, e.url, e.id, e.extractor, e.date,
                             e.durationSeconds, e.thumbnailURL, e.entryCount) +
                        " ";
        });
    };
    EXPECT_EQ(Run("script:row", tell), "item One@0,script:one|item W@3,|playlist row of 2|" + kSucceed);
    EXPECT_EQ(told, "row 4:1|0|0|T|script:one|a|E|20260101|9|large|0 2|0|0||script:bad||||0||0 "
                    "3|1|0|inner|script:inner||||0||1 4|0|1|W|||||0||0 ");
    ASSERT_EQ(failed_.size(), 1U);
    EXPECT_EQ(Text(failed_[0].number, failed_[0].url, failed_[0].error->GetErrorMessage()),
              "2|script:bad|ERROR: gone\n");

    // By number the tool lists them alone; by a function they are left out afterwards.
    Put("row",
        "when --playlist-items 3-4,7-\nline {\"_type\":\"playlist\",\"title\":\"row\",\"playlist_count\":9,"
        "\"requested_entries\":[3,8],\"entries\":[" +
            Whole("W3") + "," + Whole("W8") + "]}");
    EXPECT_EQ(Run("script:row",
                  [&](auto& task) {
                      tell(task);
                      task.SetWantedEntries({{3, 4}, {7, 0}});
                      task.SetEntryFilter([](HVListEntry const& entry) { return entry.number == 8; });
                  }),
              "item W8@7,|playlist row of 1|" + kSucceed);
    EXPECT_THAT(told, HasSubstr("row 9:3|"));
    // None at all is what was asked for, not a failure.
    EXPECT_EQ(Run("script:row",
                  [&](auto& task) {
                      task.SetWantedEntries({{3, 4}, {7, 0}});
                      task.SetEntryFilter([](HVListEntry const&) -> bool { return false; });
                  }),
              "playlist row of 0|" + kSucceed);
}

TEST_P(FullAnalysis, TakesEntriesFromTheEndAndTheNewest) {
    auto const wanted = [](std::vector<std::pair<int, int>> ranges, int newest) {
        return [=](IHVDownloadTask& task) {
            task.SetListDepth(1);
            task.SetWantedEntries(ranges);
            task.SetNewestEntries(newest);
        };
    };
    Put("tail", R"(when --playlist-items -2:
line {"_type":"playlist","title":"tail","requested_entries":[6,7],"entries":[)" +
                    Whole("W6") + "," + Whole("W7") + "]}");
    EXPECT_EQ(Run("script:tail", wanted({{-2, 0}}, 0)),
              "item W6@5,|item W7@6,|playlist tail of 2|" + kSucceed);
    // In a list that the listing holds, the numbers from the end count there.
    Put("nest", "line " + List("nest", List("inner", Whole("I1") + "," + Whole("I2") + "," + Whole("I3"))));
    EXPECT_EQ(Run("script:nest", wanted({{-1, -1}}, 0)), "item I3@2,|playlist nest of 1|" + kSucceed);
    // What tells its day alone is older than what tells the hour of it.
    Put("dated", "line " + List("dated", Whole("A", R"(,"upload_date":"20240601")") + "," + Whole("B") + "," +
                                             List("inner", Whole("I")) + "," +
                                             Whole("C", R"(,"timestamp":1717200001)") + "," +
                                             Whole("D", R"(,"timestamp":1717200002)")));
    for (auto const& [newest, items] :
         std::vector<std::pair<int, std::string>>{{1, "item I@0,|item D@4,|"},
                                                  {2, "item I@0,|item C@3,|item D@4,|"},
                                                  {3, "item A@0,|item I@0,|item C@3,|item D@4,|"}})
        EXPECT_EQ(Run("script:dated", wanted({}, newest)),
                  items + "playlist dated of " + std::to_string(newest + 1) + "|" + kSucceed);
    Put("plain", "line " + List("plain", Whole("A") + "," + Whole("B") + "," + Whole("C")));
    EXPECT_EQ(Run("script:plain", wanted({{2, 0}}, 1)), "item B@1,|playlist plain of 1|" + kSucceed);
}

TEST_P(FullAnalysis, AsksOnceForTheOptionsOfEachSite) {
    auto const bundle = [](std::string const& agent) {
        auto const network = IHVNetworkOptions::MallocNetworkOptions();
        network->SetUserAgent(agent);
        auto const options = IHVDownloadOptions::MallocDownloadOptions();
        options->SetNetworkOptions(network);
        return options;
    };
    std::string entries;
    for (char const* const host : {"testkit", "other", "thrown", "testkit"})
        entries += std::string(entries.empty() ? "" : ",") + R"({"_type":"url","url":"https://)" + host +
                   R"(.invalid/one"})";
    Put("sites", "line " + List("sites", entries));
    std::mutex mutex;
    std::multiset<std::string> asked;
    Run("https://testkit.invalid/sites", [&](auto& task) {
        task.SetOptions(bundle("own"));
        task.SetOptionsForSite([&](std::string const& host) {
            std::lock_guard const lock(mutex);
            asked.insert(host);
            if (host == "thrown.invalid")
                throw std::runtime_error("no such site");
            return host == "testkit.invalid" ? bundle("chosen") : nullptr;
        });
    });
    EXPECT_EQ(asked, (std::multiset<std::string>{"other.invalid", "testkit.invalid", "thrown.invalid"}));
    ASSERT_EQ(Starts().size(), 5U);
    for (auto const& start : Starts())
        EXPECT_THAT(start, HasSubstr(start.find("testkit.") == std::string::npos
                                         ? "--add-headers User-Agent:own "
                                         : "--add-headers User-Agent:chosen "));
}

TEST_P(FullAnalysis, KeepsWhatElseTheDocumentSays) {
    std::string const document = Whole(
        "A", R"(,"extractor":"site","id":"i","webpage_url":"w","uploader":"u","upload_date":"20260131",)"
             R"("description":"d","chapters":[{"start_time":0,"end_time":2.5,"title":"c"}],"odd":NaN,)"
             R"("thumbnails":[{"id":"0","url":"s.jpg"},{"id":"1","url":"m.jpg"},{"id":"2","url":"l.webp"}])");
    Put("row", "line " + document);
    auto const thumbnail = [this] { return recorder_->items[0]->GetThumbnail()->GetDownloadURL(); };
    Run("script:row", [](auto& task) {
        task.SetThumbnailBytes(false);
        task.SetKeepDocuments(true);
    });
    auto const details = recorder_->items[0]->Details();
    EXPECT_EQ(Text(details->extractor, details->id, details->webpageURL, details->uploader,
                   details->uploadDate, details->description, details->playlistPosition),
              "site|i|w|u|20260131|d|0");
    ASSERT_EQ(details->chapters.size(), 1U);
    EXPECT_EQ(Text(details->chapters[0].end, details->chapters[0].title), "2.5|c");
    EXPECT_EQ(recorder_->items[0]->DocumentText(), document);
    EXPECT_EQ(thumbnail(), "m.jpg");
    Run("script:row", [](auto& task) {
        task.SetThumbnailBytes(false);
        task.SetWebPThumbnails(true);
    });
    EXPECT_EQ(thumbnail(), "l.webp");
    auto const runs = Starts().size();
    EXPECT_EQ(runs, 2U); // no run for a thumbnail
    EXPECT_EQ(recorder_->items[0]->DocumentText(), "");

    // Afterwards, as long as the application likes.
    Put("hang", "touch up\nhang");
    Put("fetch", "write . 7");
    Put("row", "line " + Whole("A", R"(,"thumbnails":[{"id":"0","url":"script:hang"}])"));
    Run("script:row", [](auto& task) { task.SetThumbnailBytes(false); });
    auto const picture = recorder_->items[0]->GetThumbnail();
    EXPECT_FALSE(picture->Fetch(nullptr, "", 0, [this] { return !std::filesystem::exists(Path("up")); }));
    EXPECT_FALSE(
        picture->Fetch(nullptr, "", 0, []() -> bool { throw std::runtime_error("odd application"); }));
    EXPECT_FALSE(picture->Fetch(nullptr, "", 100));
    Put("hang", "run fetch");
    EXPECT_TRUE(picture->Fetch(nullptr, "", 0, [] { return true; }));
    EXPECT_EQ(picture->GetDataSize(), 7);

    Put("row", "line " + List("L", Link("one")));
    Run("script:row");
    EXPECT_EQ(
        Text(recorder_->items[0]->Details()->playlistTitle, recorder_->items[0]->Details()->playlistPosition),
        "L|1");
}

TEST_P(FullAnalysis, ReadsTablesOnlyWhereTheToolSaysNothing) {
    std::string const tables =
        "when --list-formats\nline ID  EXT RESOLUTION | FILESIZE PROTO | VCODEC ACODEC\n"
        "line 18  mp4 640x360    |  1.00MiB https | avc1   mp4a\nline ----\nline A name.mp4\n";
    auto const run = [&](std::string const& first) {
        Put("row", "when -J\n" + first +
                       "\nunless -J\nunless --list-formats\n"
                       "line x: Downloading 1 format(s): 18\n" +
                       tables);
        return Run("script:row", [](auto& task) { task.SetTablesWhereNoJson(true); });
    };
    EXPECT_EQ(run("line <html>"), "item A name@-1,script:row|" + kSucceed);
    EXPECT_THAT(run("line null\nerrline ERROR: no"), HasSubstr("err:ERROR: no"));
    EXPECT_THAT(run("die 9"), HasSubstr("Unknown error"));
    EXPECT_THAT(run("errline x: error: no such option: -J\nexit 2"), HasSubstr("no such option"));
}

TEST_P(FullAnalysis, ReportsAStopOnceAsACancel) {
    std::string const cancel = "Cancel: User cancelled operation";
    std::string const thumbnail = R"(,"thumbnails":[{"id":"0","url":"script:late"}])";
    Put("late", "touch up\nwait go\nwrite . 5");
    Put("hang", "touch up\nhang");
    for (std::string const& script : {std::string("touch up\nhang"), "line " + Whole("A", thumbnail),
                                      "line " + List("L", Link("hang") + "," + Link("one"))}) {
        Put("row", script);
        std::filesystem::remove(Path("up"));
        std::thread stopper;
        EXPECT_EQ(Run("script:row",
                      [&](IHVDownloadTask& task) {
                          stopper = std::thread([&] {
                              EXPECT_TRUE(AwaitFile("up"));
                              task.StopTask();
                          });
                      }),
                  cancel)
            << script;
        stopper.join();
    }
}

INSTANTIATE_TEST_SUITE_P(AtOnce, FullAnalysis, testing::Values(1, 4));
