// What does an address hold? Prints its items with their formats and subtitles.
//
//   example_analyse URL

#include "Analysis.h"

#include <cstdio>

using namespace Halvorn;

namespace {

//! [print]
void Print(IHVDownloadItem const& item) {
    std::printf("%s, %s%s\n", item.GetFileName().c_str(), item.GetDurationString().c_str(),
                item.IsLiveStream() ? ", live" : "");
    for (int i = 0; i < item.GetDownloadFormatCount(); ++i) { // the best comes first
        auto const format = item.GetDownloadFormatAtIndex(i);
        std::printf("  %s: %s, %s\n", format->FormatCode().c_str(), format->Description().c_str(),
                    format->AudioOnly()     ? "sound only"
                    : format->MergeFormat() ? "picture and sound, joined by the tool"
                    : format->VideoOnly()   ? "picture only"
                                            : "picture and sound");
    }
    for (int i = 0; i < item.GetDownloadSubtitlesCount(); ++i) {
        auto const subtitle = item.GetDownloadSubtitleAtIndex(i);
        std::printf("  subtitles in %s (%s):", subtitle->GetLanguageName().c_str(),
                    subtitle->GetLanguageCode().c_str());
        for (auto const& extension : subtitle->GetSubtitleFormats())
            std::printf(" %s", extension.c_str());
        std::printf("\n");
    }
}
//! [print]

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: example_analyse URL\n");
        return 2;
    }
    //! [analyse]
    IHVDownloadPlugin::UseLocalPluginForThisProcess(false); // the tools beside the library
    Analysis analysis(argv[1]);
    analysis.Wait();
    if (!analysis.result->Succeed()) {
        std::fprintf(stderr, "%s: %s\n", argv[1], analysis.result->GetErrorMessage().c_str());
        return 1;
    }
    for (auto const& item : analysis.items)
        Print(*item);
    //! [analyse]
    return 0;
}
