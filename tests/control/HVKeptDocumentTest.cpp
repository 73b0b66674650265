#include "DownloadFixture.h"

#include "HVDownloadItem.h"
#include "HVKeptDocument.h"
#include "IHVDownloadOptions.h"
#include "IHVNetworkOptions.h"

using namespace Halvorn;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class KeptDocument : public Downloads {
protected:
    /// The arguments of the runs of a download that succeeds.
    std::vector<std::string> Download(std::shared_ptr<IHVDownloadItem> const& item,
                                      std::shared_ptr<IHVDownloadOptions> options) const {
        auto const before = Starts().size();
        auto const task = IHVDownloadTask::MallocDownloadTask(item, Path("."));
        Recorder recorder;
        task->SetDelegate(&recorder);
        task->SetOptions(std::move(options));
        EXPECT_TRUE(task->StartTask()->Succeed());
        EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
        EXPECT_THAT(recorder.Story(), EndsWith("Succeed: Operation was succeed"));
        auto starts = Starts();
        starts.erase(starts.begin(), starts.begin() + static_cast<std::ptrdiff_t>(before));
        return starts;
    }
};

TEST_F(KeptDocument, ServesTheDownloadOnItsTermsAndIsSecret) {
    Put("page", R"(when -J
line {"title":"A","webpage_url":"script:list","n":1e400,"formats":[{"format_id":"18","ext":"mp4"}]}
unless -J
write . 5)");
    auto const task = IHVDownloadTask::MallocDownloadTask("script:page");
    Recorder recorder;
    task->SetDelegate(&recorder);
    task->SetKeepForDownload(true);
    EXPECT_TRUE(task->StartTask()->Succeed());
    EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
    ASSERT_EQ(recorder.items.size(), 1U);
    auto item = std::exchange(recorder.items, {})[0];
    item->SetCurrentFormatIndex(0);
    auto const* const own = dynamic_cast<HVDownloadItem const*>(item.get());
    ASSERT_TRUE(own != nullptr && own->Document() != nullptr);
    std::string const path = own->Document()->Path();
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0600));
    // What the tool goes back to is what the download would name.
    EXPECT_THAT(ContentOf(path), AllOf(EndsWith(R"("webpage_url":"script:page"})"), Not(HasSubstr("list"))));

    // This tool knows no such option, so that a second run goes by the address.
    auto runs = Download(item, nullptr);
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_THAT(runs[0], AllOf(EndsWith(" --load-info-json " + path), Not(HasSubstr("script:page"))));
    EXPECT_THAT(runs[1], AllOf(EndsWith(" script:page"), Not(HasSubstr("--load-info-json"))));
    // Other options may lead to other media.
    auto const options = IHVDownloadOptions::MallocDownloadOptions();
    auto const network = IHVNetworkOptions::MallocNetworkOptions();
    network->SetClientSideIPAddress("127.0.0.1");
    options->SetNetworkOptions(network);
    runs = Download(item, options);
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_THAT(runs[0], EndsWith(" script:page"));
    item = nullptr;
    EXPECT_FALSE(std::filesystem::exists(path));
}
