#include "IHVConversionOptions.h"
#include "IHVKeptQueue.h"

#include "Child.h"
#include "DownloadFixture.h"
#include "HVArgsBuilder.h"
#include "HVDownloadController.h"
#include "HVDownloadItem.h"
#include "HVMergeDownloadFormat.h"
#include "HVQueueKeeper.h"
#include "IHVAuthenticationOptions.h"
#include "IHVDownloadCookies.h"
#include "IHVDownloadOptions.h"
#include "IHVGeneralAuthentication.h"
#include "IHVGeneralOptions.h"
#include "IHVGeoRestrictionOptions.h"
#include "IHVNetworkOptions.h"
#include "IHVPlayList.h"
#include "IHVProxy.h"

#include <csignal>
#include <random>

#include <sys/resource.h>

using namespace Halvorn;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class KeptQueue : public Downloads {
protected:
    std::shared_ptr<IHVKeptQueue> Open(bool pause = false) {
        HVKeptQueueSettings settings;
        settings.pauseInterrupted = pause;
        return IHVKeptQueue::Open(file_, settings, error_);
    }
    std::shared_ptr<IHVDownloadController> Row(std::string const& url) const {
        return IHVDownloadController::MallocDownloadController(Item(url, url.substr(url.find(':') + 1)),
                                                               out_);
    }
    /// The rows as they are in memory: everything that a caller can change.
    static std::vector<std::string> Rows(IHVKeptQueue const& kept) {
        std::vector<std::string> rows;
        auto const queue = kept.Controllers();
        for (int const row : queue->AllControllers()) {
            auto const controller = queue->GetController(row);
            auto const error = controller->LastError();
            rows.push_back(controller->DownloadItem()->DownloadURL() + " " +
                           controller->GetDownloadOutputName() + " " + controller->GetDownloadOutputPath() +
                           controller->GetNameTemplate() + " " + std::to_string(controller->State()) +
                           (controller->GetChecked() ? " ticked " : " ") +
                           controller->DownloadOutputPathFile() + (error ? error->GetErrorMessage() : ""));
        }
        return rows;
    }

    std::string const file_ = Path("state/queue");
    std::shared_ptr<IHVError const> error_;
};

namespace {

std::shared_ptr<IHVDownloadFormat> Half(char const* document) {
    auto format = std::make_shared<HVDownloadFormat>();
    EXPECT_TRUE(format->LoadFromJsonObject(
        std::make_shared<HVJsonObjectFormat>(IHVJsonReader::ReadJsonString(document, nullptr))));
    return format;
}

/// Everything but what is a secret.
std::shared_ptr<IHVDownloadOptions> FullOptions() {
    auto const options = IHVDownloadOptions::MallocDownloadOptions();
    auto const general = IHVGeneralOptions::MallocGeneralOptions();
    general->SetConCurrentFragments(3);
    general->SetKeepFragments(true);
    general->SetLimitDownloadRate(70000);
    general->SetThrottledDownloadRate(600);
    general->SetRetryCount(0);
    general->SetKeepVideo(true);
    general->SetBufferSize(4096);
    general->SetAutoResizeBufferSize(false);
    general->SetUsePartFile(false);
    general->SetIgnoreToolConfiguration(true);
    options->SetGeneralOptions(general);
    auto const network = IHVNetworkOptions::MallocNetworkOptions();
    network->SetProxy(IHVProxy::MallocProxy(IHVProxy::ProxySchemeHttp, "proxy.example", 3128, "", ""));
    network->SetConnectionVia(IHVNetworkOptions::ConnectionViaIPv6);
    network->SetClientSideIPAddress("::1");
    network->SetSocketTimeout(9);
    network->SetUserAgent("agent");
    network->SetReferer("https://site.example/page");
    network->SetCheckCertificates(true);
    options->SetNetworkOptions(network);
    options->SetGeoRestrictionOptions(IHVGeoRestrictionOptions::MallocGeoRestrictionOptions(
        IHVProxy::MallocProxy(IHVProxy::ProxySchemeSocks5, "geo.example", 0, "", ""), "FR"));
    auto const cookies = IHVDownloadCookies::MallocDownloadCookies(HVDownloadBrowserVivaldi);
    cookies->SetBrowserStore({"profile", "container", "basictext"});
    options->SetDownloadCookies(cookies);
    auto const conversion = IHVConversionOptions::MallocConversionOptions();
    conversion->SetContainer("mkv");
    conversion->SetEmbedThumbnail(true);
    conversion->SetEmbedMetadata(true);
    conversion->SetEmbedSubtitles(true, true);
    conversion->SetSubtitleFormat("srt");
    conversion->SetSplitChapters(true);
    conversion->SetExactCuts(true);
    conversion->SetSponsorsRemoved("intro");
    conversion->SetSponsorsMarked("all,-intro");
    conversion->SetSponsorService("https://sponsors.example");
    options->SetConversionOptions(conversion);
    return options;
}

std::vector<std::string> Arguments(IHVDownloadController& controller) {
    HVArgsBuilder const builder(std::const_pointer_cast<IHVDownloadOptions>(controller.GetOptions()));
    return builder.BuildDownloadItemArgs(controller.DownloadItem().get(), "out");
}

} // namespace

TEST_F(KeptQueue, ARowComesBackSoThatItsDownloadIsTheSame) {
    auto kept = Open();
    ASSERT_NE(kept, nullptr) << error_->GetErrorMessage();
    auto const item = std::make_shared<HVDownloadItem>("");
    item->SetFileName("a\\n\nb=\xC3\xA9");
    item->SetPlayList(IHVPlayList::MallocPlayList("https://site.example/list"), 4);
    HVItemDetails details;
    details.extractor = "Site";
    details.id = "x=1\n2";
    item->TakeDetails(details, {});
    item->AddDownloadFormat(std::make_shared<HVMergeDownloadFormat>(
        Half(
            R"({"format_id":"v[1","ext":"webm","vcodec":"vp9","acodec":"none","width":1920,"height":1080,"fps":29.97,"tbr":900})"),
        Half(
            R"({"format_id":"a","ext":"m4a","acodec":"aac","vcodec":"none","language":"fr","filesize":5000000000})"),
        true));
    item->SetChosenSubtitles({HVDownloadSubtitle::Kept("fr", "French", "vtt", true),
                              HVDownloadSubtitle::Kept("de", "German", "srt", false)});
    auto const controller = IHVDownloadController::MallocDownloadController(item, out_);
    controller->SetOptions(FullOptions());
    controller->SetNameTemplate("{playlist}/{title}");
    kept->Controllers()->AddController(controller);
    controller->PendingDownload();
    // The same but for its secrets, of which nothing may reach the disk.
    auto const secret = Row("script:secret");
    auto const options = FullOptions();
    std::const_pointer_cast<IHVNetworkOptions>(options->GetNetworkOptions())
        ->SetProxy(IHVProxy::MallocProxy(IHVProxy::ProxySchemeHttp, "proxy.example", 1, "me", "S3CRET"));
    auto const login = IHVAuthenticationOptions::MallocAuthenticationOptions();
    auto const general = IHVGeneralAuthentication::MallocGeneralAuthentication();
    general->SetUserName("me");
    general->SetUserPWD("S3CRET");
    login->SetGeneralAuthentication(general);
    login->SetVideoPassword("S3CRET");
    options->SetAuthenticationOptions(login);
    Put("cookies.txt", "S3CRET");
    options->SetDownloadCookies(IHVDownloadCookies::MallocDownloadCookies(Path("cookies.txt")));
    secret->SetOptions(options);
    kept->Controllers()->AddController(secret);
    EXPECT_EQ(kept->Needs(secret), HVKeptNeedNone);
    auto const before = Arguments(*controller);
    auto const description = item->GetCurrentDownloadFormat()->Description();
    auto const rows = Rows(*kept);
    ASSERT_EQ(kept->Flush(60'000), HVErrSuccess);
    for (auto const& entry : std::filesystem::directory_iterator(Path("state")))
        EXPECT_THAT(ContentOf(entry), Not(HasSubstr("S3CRET"))) << entry;
    EXPECT_EQ(kept->Close(60'000), HVErrSuccess);

    std::filesystem::remove(Path("cookies.txt"));
    kept = Open();
    ASSERT_NE(kept, nullptr) << error_->GetErrorMessage();
    EXPECT_EQ(Rows(*kept), rows);
    auto const again = kept->Controllers()->GetController(0);
    EXPECT_EQ(Arguments(*again), before);
    EXPECT_EQ(again->DownloadItem()->GetCurrentDownloadFormat()->Description(), description);
    EXPECT_EQ(again->DownloadItem()->Details()->id, details.id);
    EXPECT_EQ(kept->Controllers()->GetProgress({0}).total, 5'000'000'000U);
    EXPECT_TRUE(again->GetOptions()->GetNetworkOptions()->GetCheckCertificates());
    EXPECT_EQ(again->GetOptions()->GetConversionOptions()->GetSponsorService(), "https://sponsors.example");
    auto const lacking = kept->Controllers()->GetController(1);
    EXPECT_EQ(KeptNeedText(kept->Needs(lacking)),
              "a login, the video's password, its cookies file, which is gone, the proxy's password");
    lacking->SetOptions(options);
    EXPECT_EQ(kept->Needs(lacking), HVKeptNeedNone);
}

namespace {

/// The change of this number, made of what is there at that moment: the same in each run.
void Change(IHVKeptQueue& kept, unsigned number,
            std::function<std::shared_ptr<IHVDownloadController>()> const& make) {
    std::minstd_rand random(number + 1);
    auto const queue = kept.Controllers();
    int const count = queue->GetControllerCount();
    auto const any = [&] {
        return static_cast<int>(random() / 9 % static_cast<unsigned>(std::max(count, 1)));
    };
    auto const row = queue->GetController(any());
    auto const kind = row == nullptr ? 0 : random() % 9;
    switch (kind) {
    case 3:
        return row->SetChecked(!row->GetChecked());
    case 4:
        return row->SetDownloadOutputName("name " + std::to_string(number));
    case 5:
        return row->SetDownloadOutputPath("/folder/" + std::to_string(number));
    case 6:
        kept.Move(row, any());
        return;
    case 7:
        queue->RemoveController(row);
        return;
    default:
        queue->InsertController(make(), kind == 1 ? 0 : kind == 2 ? count : any());
    }
}

} // namespace

TEST_F(KeptQueue, AfterAKillItHoldsWhatWasStoredByThenAndNothingElse) {
    constexpr unsigned kChanges = 600;
    auto const change = [this](IHVKeptQueue& kept, unsigned number) {
        Change(kept, number, [&] { return Row("script:" + std::to_string(number)); });
    };
    // What it is after each change.
    std::vector<std::vector<std::string>> states(1);
    {
        auto const kept = Open();
        ASSERT_NE(kept, nullptr) << error_->GetErrorMessage();
        for (unsigned number = 0; number < kChanges; ++number) {
            change(*kept, number);
            states.push_back(Rows(*kept));
        }
    }
    EXPECT_EQ(Rows(*Open()), states.back());
    for (unsigned const most : {1U, 40U, 200U}) {
        std::filesystem::remove_all(Path("state"));
        int told[2];
        ASSERT_EQ(pipe(told), 0);
        pid_t const child = Fork();
        if (child == 0) {
            auto const kept = Open();
            for (unsigned number = 0; number < kChanges; ++number) {
                change(*kept, number);
                if (number % most == 0 && kept->Flush(60'000) == HVErrSuccess)
                    static_cast<void>(!write(told[1], &number, sizeof number));
            }
            pause();
        }
        close(told[1]);
        unsigned stored = 0;
        while (stored < 2 * most && read(told[0], &stored, sizeof stored) > 0)
            continue;
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        close(told[0]);
        auto const kept = Open();
        ASSERT_NE(kept, nullptr) << error_->GetErrorMessage();
        auto const found = std::find(states.begin() + stored + 1, states.end(), Rows(*kept));
        EXPECT_NE(found, states.end())
            << "with a kill after change " << stored << ": " << testing::PrintToString(Rows(*kept));
    }
}

TEST_F(KeptQueue, WhatRanGoesOnAndWhatWasDoneIsDone) {
    Put("good", "write . 5");
    Put("bad", "errline ERROR: no luck\nexit 1");
    Put("long", "touch begun\nhang");
    auto kept = Open();
    ASSERT_NE(kept, nullptr) << error_->GetErrorMessage();
    auto const queue = kept->Controllers();
    for (char const* const url : {"script:good", "script:bad", "script:long", "script:good", "script:placed"})
        queue->AddController(Row(url));
    queue->SetConcurrentDownload(1); // the row that hangs keeps the next one from its start
    queue->StartRows({0, 1, 2});
    ASSERT_TRUE(AwaitFile("begun"));
    queue->GetController(3)->PendingDownload();
    // Killed between the move of the file and the state that tells of it.
    auto const keeper = dynamic_cast<HVDownloadController&>(*queue->GetController(4)).Keeper();
    keeper->StateChanged({HVDownloadStateDownloading, {}, nullptr});
    Put("out/placed.part", "whole");
    keeper->FileIsWhole(Path("out/placed.part"), out_);
    std::filesystem::rename(Path("out/placed.part"), Path("out/placed (1).mp4"));
    EXPECT_EQ(IHVKeptQueue::ReadRows(file_, error_)[2].state, HVDownloadStateDownloading);

    EXPECT_EQ(kept->Close(60'000), HVErrSuccess);
    EXPECT_NE(keeper->FileIsWhole("late", out_), nullptr); // no opening would know of it
    EXPECT_EQ(Running().first, 0);
    EXPECT_FALSE(queue->AnyControllerIsDownloading());
    kept = Open(true);
    ASSERT_NE(kept, nullptr) << error_->GetErrorMessage();
    auto const states = [&] {
        std::vector<int> all;
        for (int const row : kept->Controllers()->AllControllers())
            all.push_back(kept->Controllers()->State(row));
        return all;
    };
    EXPECT_THAT(states(), ElementsAre(5, 5, 4, 4, 5));
    EXPECT_EQ(kept->Controllers()->GetController(0)->DownloadOutputPathFile(), Path("out/good.mp4"));
    EXPECT_EQ(kept->Controllers()->GetController(4)->DownloadOutputPathFile(), Path("out/placed (1).mp4"));
    auto const sum = kept->Controllers()->GetProgress({0, 1, 4, 9});
    EXPECT_FALSE(sum.fraction < 1 || sum.estimated || sum.succeeded != 2 || sum.failed != 1);
    EXPECT_THAT(kept->Controllers()->GetController(1)->LastError()->GetErrorMessage(), HasSubstr("no luck"));
    EXPECT_TRUE(kept->Controllers()->GetController(4)->LastError()->Succeed());
    kept->Controllers()->GetController(2)->PendingDownload();
    kept->Controllers()->GetController(3)->PendingDownload();
    kept->Close(60'000);
    Put("long", "write . 7");
    kept = Open();
    EXPECT_THAT(states(), ElementsAre(5, 5, 2, 2, 5));
    kept->StartWaiting();
    EXPECT_EQ(kept->Controllers()->WaitFinish(60'000), HVErrSuccess);
    EXPECT_THAT(states(), ElementsAre(5, 5, 5, 5, 5));
    EXPECT_EQ(ContentOf(Path("out/long.mp4")).size(), 7U);
    EXPECT_TRUE(std::filesystem::exists(kept->Controllers()->GetController(3)->DownloadOutputPathFile()));
}

TEST_F(KeptQueue, ARunAsksTheSiteForWhatIsNotKnownOrGoneAndAStopEndsThat) {
    Put("changed", R"(when 18
errline ERROR: [x] 1: Requested format is not available. Use --list-formats for a list of available formats
exit 1
always
when -J
line {"id":"1","title":"Title","formats":[{"format_id":"5","ext":"mp4","width":9,"height":9},{"format_id":"22","ext":"mp4"}]}
unless -J
write . 5)");
    Put("list",
        R"(line {"_type":"playlist","entries":[{"id":"2","title":"Other","formats":[{"format_id":"18","ext":"mp4"}]}]})");
    Put("long", "touch begun\nhang");
    auto const item = std::make_shared<HVDownloadItem>("");
    item->SetPlayList(IHVPlayList::MallocPlayList("script:list"), 0);
    HVItemDetails details;
    details.id = "1";
    item->TakeDetails(details, {});
    item->AddDownloadFormat(Half(R"({"format_id":"18","ext":"mp4"})"));
    auto const kept = Open();
    ASSERT_NE(kept, nullptr) << error_->GetErrorMessage();
    auto const queue = kept->Controllers();
    queue->AddController({Row("script:changed"), IHVDownloadController::MallocDownloadController(item, out_),
                          IHVDownloadController::MallocDownloadController(
                              IHVDownloadItem::MallocDownloadItem("script:long"), out_)});
    queue->StartRows({0, 1, 2});
    ASSERT_TRUE(AwaitFile("begun"));
    queue->StopRows({2});
    ASSERT_EQ(queue->WaitFinish(60'000), HVErrSuccess);
    auto const changed = queue->GetController(0);
    EXPECT_TRUE(changed->DownloadSucceed()) << changed->LastError()->GetErrorMessage();
    EXPECT_THAT(queue->GetController(1)->LastError()->GetErrorMessage(), HasSubstr("Another item stands"));
    EXPECT_EQ(queue->State(2), HVDownloadStateCancelled);
    EXPECT_EQ(Running().first, 0);
    ASSERT_EQ(kept->Flush(60'000), HVErrSuccess);
    EXPECT_EQ(IHVKeptQueue::ReadRows(file_, error_)[0].format, "22");
    // It is known from then on.
    auto const before = Starts().size();
    changed->ResetDownload();
    queue->StartRows({0});
    ASSERT_EQ(queue->WaitFinish(60'000), HVErrSuccess);
    EXPECT_EQ(Starts().size(), before + 1);
}

TEST_F(KeptQueue, NothingIsFetchedForAFolderThatIsNotThere) {
    Put("disk", "");
    auto const kept = Open();
    ASSERT_NE(kept, nullptr) << error_->GetErrorMessage();
    auto const row =
        IHVDownloadController::MallocDownloadController(Item("script:good", "good"), Path("disk/deep"));
    kept->Controllers()->AddController(row);
    kept->Controllers()->StartRows({0});
    ASSERT_EQ(kept->Controllers()->WaitFinish(60'000), HVErrSuccess);
    EXPECT_EQ(row->LastError()->GetKind(), HVErrorKindNoPermission) << row->LastError()->GetErrorMessage();
    EXPECT_TRUE(Starts().empty());
}

TEST_F(KeptQueue, AFileThatCantBeHadIsLeftAsItIsAndAFullDiskLosesNothing) {
    auto kept = Open();
    ASSERT_NE(kept, nullptr) << error_->GetErrorMessage();
    kept->Controllers()->AddController(Row("script:first"));
    EXPECT_EQ(Open(), nullptr);
    EXPECT_THAT(error_->GetErrorMessage(), HasSubstr("process " + std::to_string(getpid())));
    ASSERT_EQ(kept->Flush(60'000), HVErrSuccess);
    kept.reset();
    Put("theirs", "");
    pid_t const child = Fork();
    if (child == 0) {
        kept = Open();
        Put("theirs", kept == nullptr ? "" : "open");
        pause();
    }
    ASSERT_TRUE(Eventually([this] { return ContentOf(Path("theirs")) == "open"; }));
    EXPECT_EQ(Open(), nullptr);
    EXPECT_THAT(error_->GetErrorMessage(), HasSubstr("process " + std::to_string(child)));
    EXPECT_EQ(IHVKeptQueue::Holder(file_), child);
    EXPECT_EQ(IHVKeptQueue::ReadRows(file_, error_).size(), 1U);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_EQ(IHVKeptQueue::Holder(file_), 0);
    EXPECT_EQ(IHVKeptQueue::ReadRows(file_, error_).size(), 1U) << error_->GetErrorMessage();
    EXPECT_THAT(FilesIn(Path("state")), ElementsAre("queue", "queue-lock"));

    kept = Open();
    ASSERT_NE(kept, nullptr) << error_->GetErrorMessage();
    rlimit limits{};
    getrlimit(RLIMIT_FSIZE, &limits);
    auto const before = std::signal(SIGXFSZ, SIG_IGN);
    rlimit const full{100, limits.rlim_max};
    setrlimit(RLIMIT_FSIZE, &full);
    kept->Controllers()->AddController(Row("script:second"));
    EXPECT_EQ(kept->Flush(60'000), HVErrFailure);
    EXPECT_NE(kept->LastError(), nullptr);
    setrlimit(RLIMIT_FSIZE, &limits);
    std::signal(SIGXFSZ, before);
    kept->Controllers()->GetController(0)->SetChecked(false);
    EXPECT_EQ(kept->Flush(60'000), HVErrSuccess);
    EXPECT_EQ(kept->LastError(), nullptr);
    auto const rows = Rows(*kept);
    EXPECT_EQ(rows.size(), 2U);
    kept.reset();
    kept = Open();
    EXPECT_EQ(Rows(*kept), rows);
    kept.reset();

    Put("state/queue", "damage");
    EXPECT_EQ(Open(), nullptr);
    EXPECT_EQ(ContentOf(file_), "damage");
    std::string aside;
    EXPECT_TRUE(IHVKeptQueue::PutAside(file_, aside)->Succeed());
    EXPECT_EQ(ContentOf(aside), "damage");
    kept = Open();
    ASSERT_NE(kept, nullptr) << error_->GetErrorMessage();
    EXPECT_TRUE(Rows(*kept).empty());
}
