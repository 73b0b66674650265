// Chooses the best format that is not taller than so many pixels, and a subtitle, and downloads the item.
//
//   example_choose URL FOLDER HEIGHT [LANGUAGE]

#include "Analysis.h"

#include <cstdio>
#include <cstdlib>

using namespace Halvorn;

namespace {

//! [choose]
/// The best with the original's sound that is not larger than "720p" and the like.
bool ChooseFormat(IHVDownloadItem& item, int height) {
    HVFormatWish wish;
    wish.maxHeight = height;
    auto const format = item.BestFormat(wish);
    item.ChooseFormat(format); // which may be one that the list of formats does not hold
    return format != nullptr;
}

bool ChooseSubtitle(IHVDownloadItem& item, std::string const& language) {
    for (int i = 0; i < item.GetDownloadSubtitlesCount(); ++i) {
        if (item.GetDownloadSubtitleAtIndex(i)->GetLanguageCode() == language) {
            item.SetCurrentSubtitleIndex(i);
            return item.GetDownloadSubtitleAtIndex(i)->SetCurrentSubtitleFormat("vtt");
        }
    }
    return false;
}
//! [choose]

//! [download]
/// Downloads the item and waits for it: the path of the file, or why there is none.
bool Download(std::shared_ptr<IHVDownloadItem> const& item, std::string const& folder, std::string& answer) {
    auto const controller = IHVDownloadController::MallocDownloadController(item, folder);
    controller->SetJSRuntimePath(IHVDownloadPlugin::BuiltInJSRuntimePathFile());
    controller->StartDownload(); // returns at once
    controller->WaitFinish(HVInfiniteTimeOut);
    bool const succeeded = controller->DownloadSucceed();
    answer = succeeded ? controller->DownloadOutputPathFile() : controller->LastError()->GetErrorMessage();
    return succeeded;
}
//! [download]

int Fail(std::string const& reason) {
    std::fprintf(stderr, "%s\n", reason.c_str());
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4 || argc > 5) {
        std::fprintf(stderr, "usage: example_choose URL FOLDER HEIGHT [LANGUAGE]\n");
        return 2;
    }
    IHVDownloadPlugin::UseLocalPluginForThisProcess(false); // the tools beside the library
    Analysis analysis(argv[1]);
    analysis.Wait();
    if (!analysis.result->Succeed())
        return Fail(analysis.result->GetErrorMessage());
    auto const item = analysis.items.front(); // an analysis that succeeds has found one at least
    if (!ChooseFormat(*item, std::atoi(argv[3])))
        return Fail(item->GetFileName() + " has no format that is so small.");
    if (argc == 5 && !ChooseSubtitle(*item, argv[4]))
        return Fail(item->GetFileName() + " has no subtitles in " + argv[4] + ".");
    std::string answer;
    if (!Download(item, argv[2], answer))
        return Fail(answer);
    std::printf("%s\n", answer.c_str());
    return 0;
}
