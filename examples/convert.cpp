// Downloads the sound of an item as an mp3 with its cover and its tags.
//
//   example_convert URL FOLDER

#include "Analysis.h"

#include <cstdio>

using namespace Halvorn;

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: example_convert URL FOLDER\n");
        return 2;
    }
    IHVDownloadPlugin::UseLocalPluginForThisProcess(false); // the tools beside the library
    Analysis analysis(argv[1]);
    analysis.Wait();
    if (!analysis.result->Succeed()) {
        std::fprintf(stderr, "%s\n", analysis.result->GetErrorMessage().c_str());
        return 1;
    }
    auto const item = analysis.items.front();
    HVFormatWish sound;
    sound.audioOnly = true; // where the site has the sound apart, no picture need be fetched
    if (auto const format = item->BestFormat(sound))
        item->ChooseFormat(format);
    auto const controller = IHVDownloadController::MallocDownloadController(item, argv[2]);
    //! [conversion]
    auto const conversion = IHVConversionOptions::MallocConversionOptions();
    conversion->SetAudio("mp3", 192); // kbit/s
    conversion->SetEmbedThumbnail(true);
    conversion->SetEmbedMetadata(true);
    if (auto const outcome = conversion->Check(*item); !outcome->Succeed())
        std::fprintf(stderr, "%s\n", outcome->GetErrorMessage().c_str()); // says what to choose instead

    auto const options = IHVDownloadOptions::MallocDownloadOptions();
    options->SetConversionOptions(conversion);
    controller->SetOptions(options);
    //! [conversion]
    controller->StartDownload();
    controller->WaitFinish(HVInfiniteTimeOut);
    for (auto const& file : item->DownloadedFiles())
        std::printf("%s\n", file.c_str());
    return controller->DownloadSucceed() ? 0 : 1;
}
