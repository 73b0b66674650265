// The files that a run has made, and their places.

#include "HVApplicationCall.h"
#include "HVDownloadItem.h"
#include "HVDownloadTaskDownload.h"
#include "HVExplainedError.h"
#include "HVFileSystem.h"
#include "HVFinishedFile.h"
#include "HVMetadataSides.h"
#include "HVParsedName.h"
#include "HVSubfolder.h"
#include "HVTmpFolder.h"
#include "HVToolInForce.h"
#include "IHVDownloadArchive.h"
#include "IHVFileProvider.h"
#include "IHVJsonValue.h"
#include "IHVLogConfig.h"
#include "IHVStringHelper.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace Halvorn {

namespace {

constexpr char kFile[] = "HVDownloadTaskDownload";
constexpr char kFunction[] = "asyncProgressTask";
/// What the tool tells of its files.
constexpr std::size_t kMostBytes = std::size_t{1} << 24;
/// Of a chapter's title in the name of its file.
constexpr std::size_t kMostTitleBytes = 80;

bool CanRun(std::string const& path) {
    using std::filesystem::perms;
    std::error_code failure;
    auto const status = std::filesystem::status(path, failure);
    return !failure && std::filesystem::is_regular_file(status) &&
           (status.permissions() & (perms::owner_exec | perms::group_exec | perms::others_exec)) !=
               perms::none;
}

std::shared_ptr<IHVError const> Missing(char const* program, std::string const& path) {
    std::string const message = std::string("The conversion needs ") + program + ", and \"" + path +
                                "\" is not there or can't be run.";
    return FaultError(kFile, __LINE__, kFunction, message, FaultOfKind(HVErrorKindFfmpegMissing));
}

/// " - 002 Title"
std::string PartName(std::size_t number, std::string title) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), " - %03zu", number);
    if (title.size() > kMostTitleBytes) {
        std::size_t end = kMostTitleBytes;
        while (end > 0 && (static_cast<unsigned char>(title[end]) & 0xC0U) == 0x80U)
            --end;
        title.resize(end);
    }
    if (IHVStringHelper::Trimmed(title).empty())
        return text.data();
    return std::string(text.data()) + " " + IHVFileProvider::MakeValidFilenameAtPath(title, {}, {});
}

} // namespace

std::shared_ptr<IHVError const> HVDownloadTaskDownload::ConversionError() const {
    if (conversion_.Empty())
        return nullptr;
    if (std::string const fault = ConversionFault(conversion_, *downloadItem_); !fault.empty())
        return IHVError::MallocError(kFile, __LINE__, kFunction, -1, "Error", fault.c_str());
    std::string const ffmpeg = MergerInForce();
    if (!CanRun(ffmpeg))
        return Missing("ffmpeg", ffmpeg);
    // The tool looks for it there.
    std::string const probe = IHVFileProvider::AppendPathComponent(FolderOfPath(ffmpeg), "ffprobe");
    return conversion_.NeedsProbe() && !CanRun(probe) ? Missing("ffprobe", probe) : nullptr;
}

void HVDownloadTaskDownload::ForgetMadeFiles(TempFile const& file) const {
    std::error_code ignored;
    if (!conversion_.Empty())
        std::filesystem::remove(MadeFilesPath(file.path), ignored);
}

std::vector<HVDownloadTaskDownload::MadeFile> HVDownloadTaskDownload::MadeFiles(TempFile const& file) const {
    if (conversion_.Empty())
        return {{file.path, file.extension, {}}};
    std::string text;
    if (!ReadRegularFile(MadeFilesPath(file.path), kMostBytes, text))
        return {};
    std::vector<MadeFile> made;
    auto const add = [&](IHVJsonValue const& record, std::string const& part) {
        std::string const told = record.GetValueString("filepath");
        std::string const name = told.substr(told.rfind('/') + 1);
        auto const point = name.rfind('.');
        std::string path = IHVFileProvider::AppendPathComponent(FolderOfPath(file.path), name);
        if (point != std::string::npos && IHVFileProvider::PathFileExist(path))
            made.push_back({std::move(path), name.substr(point + 1), part});
    };
    std::size_t told = 0;
    for (auto const& line : IHVStringHelper::Split(text, '\n')) {
        auto const record = IHVJsonReader::ReadJsonString(line, nullptr);
        if (record == nullptr)
            continue;
        ++told;
        int const chapters = conversion_.splitChapters ? record->GetArrayCount("chapters") : 0;
        for (int i = 0; i < chapters; ++i)
            if (auto const chapter = record->GetArrayItem("chapters", i))
                add(*chapter, PartName(static_cast<std::size_t>(i) + 1, chapter->GetValueString("title")));
        if (chapters == 0)
            add(*record, conversion_.Files() > 1 ? PartName(told, {}) : std::string());
    }
    return told < conversion_.Files() ? std::vector<MadeFile>() : made;
}

std::string HVDownloadTaskDownload::NamePlace(HVFinishedFile& finished) const {
    finished.folder = outputPath_;
    if (nameTemplate_.empty()) {
        finished.name = IHVFileProvider::MakeValidFilenameAtPath(downloadItem_->GetFileName(),
                                                                 finished.extension, outputPath_);
        return {};
    }
    auto path = HVParsedName(nameTemplate_).PathOf(*downloadItem_, finished.extension, outputPath_);
    finished.name = std::move(path.name);
    if (outputPath_.empty() || path.folders.empty())
        return {};
    auto place = MakeSubfolder(outputPath_, path.folders);
    finished.folder = std::move(place.path);
    return place.failure;
}

std::shared_ptr<IHVError const> HVDownloadTaskDownload::Place(TempFile const& file) {
    std::vector<HVFinishedFile> files;
    std::string failure;
    for (MadeFile const& made : MadeFiles(file)) {
        HVFinishedFile& finished = files.emplace_back();
        finished.path = made.path;
        // The part's name takes of the room as an extension does.
        finished.extension = made.part.empty() ? made.extension : made.part + "." + made.extension;
        failure = NamePlace(finished);
        finished.extension = made.extension;
        finished.name += made.part;
    }
    if (files.empty() || !failure.empty()) {
        for (HVFinishedFile const& one : files)
            if (file.partial == nullptr)
                IHVFileProvider::KeepTmpFile(one.path);
        return IHVError::MallocError(kFile, __LINE__, kFunction, HVErrorCodeIO, "IO Error",
                                     (failure + " The file is \"" + file.path + "\".").c_str());
    }
    if (outputPath_.empty())
        IHVLogConfig::Printf("CreateUniquePathFile Failed");
    if (conversion_.SubtitlesBeside())
        TakeSubtitles(files.front(), file.path);
    std::size_t const subtitles = files.front().sides.size();
    // The tool writes them for each section.
    std::size_t const owners = conversion_.sections.empty() ? 1 : files.size();
    for (std::size_t i = 0; i < owners; ++i)
        for (auto& side : TakeMetadata(metadata_, conversion_.sections.empty() ? file.path : files[i].path))
            files[i].sides.push_back(std::move(side));
    return PlaceAll(files, file.partial != nullptr, subtitles);
}

void HVDownloadTaskDownload::TellOfSides(std::vector<std::string> const& sides, std::size_t subtitles) const {
    auto* const item = dynamic_cast<HVDownloadItem*>(downloadItem_.get());
    if (item == nullptr)
        return;
    auto const middle = sides.begin() + static_cast<std::ptrdiff_t>(subtitles);
    std::vector<std::string> texts(sides.begin(), middle);
    std::vector<std::string> metadata(middle, sides.end());
    std::erase(texts, std::string());
    std::erase(metadata, std::string());
    item->SetSideFiles(std::move(texts));
    item->SetMetadataPaths(std::move(metadata));
}

/// A file that its row does not know would be downloaded a second time after a kill.
HVDownloadTaskDownload::Result HVDownloadTaskDownload::PlacingObstacle(HVFinishedFile const& last,
                                                                       bool partial) const {
    auto const failure = beforePlacing_ ? beforePlacing_(last.path, last.folder) : nullptr;
    if (failure == nullptr)
        return nullptr;
    IHVLogConfig::Printf("The queue does not know of \"%s\": %s", last.path.c_str(),
                         failure->GetErrorMessage().c_str());
    if (!partial) // nothing keeps it until the next start
        return nullptr;
    return FaultError(
        kFile, __LINE__, kFunction,
        failure->GetErrorMessage() +
            ". The download is whole: start it again when that is mended, and its file gets its "
            "place without being fetched anew.",
        FaultOfKind(failure->GetKind()));
}

std::shared_ptr<IHVError const> HVDownloadTaskDownload::PlaceAll(std::vector<HVFinishedFile> const& files,
                                                                 bool partial, std::size_t subtitles) {
    // Once the last one has its place, so have all.
    if (auto obstacle = PlacingObstacle(files.back(), partial))
        return obstacle;
    // Those that wait for the first one's place outlive the process as that one does.
    for (std::size_t i = 1; i < files.size() && !partial; ++i)
        KeepFinishedFile(files[i]);
    std::vector<std::string> placed;
    std::vector<std::string> sides;
    std::string failure;
    for (HVFinishedFile const& file : files) {
        HVPlacement const placement = partial ? PutIntoFolder(file) : PlaceFinishedFile(file);
        if (placement.failure.empty())
            placed.push_back(placement.target);
        else
            failure += (failure.empty() ? "" : " ") + placement.failure;
        sides.insert(sides.end(), placement.sides.begin(), placement.sides.end());
        if (placement.ended)
            break;
    }
    if (!failure.empty())
        return IHVError::MallocError(kFile, __LINE__, kFunction, HVErrorCodeIO, "IO Error", failure.c_str());
    TellOfSides(sides, subtitles);
    if (auto* const item = dynamic_cast<HVDownloadItem*>(downloadItem_.get()))
        item->SetFiles(placed);
    downloadItem_->SetDownloadedFile(placed.front());
    if (archive_ != nullptr) // which logs a failure: the download is a success all the same
        CallApplication([this] { archive_->Add(*downloadItem_); });
    return IHVError::MallocSucceed(kFile, __LINE__, kFunction);
}

void HVDownloadTaskDownload::TakeSubtitles(HVFinishedFile& finished, std::string const& path) const {
    auto const chosen = downloadItem_->ChosenSubtitles();
    auto const converted = [this](std::vector<std::string> formats) {
        if (!conversion_.subtitleFormat.empty())
            formats.insert(formats.begin(), conversion_.subtitleFormat);
        return formats;
    };
    for (auto const& subtitle : chosen) {
        std::vector<std::string> formats{subtitle->GetCurrentSubtitleFormat()};
        // Of several wishes the tool may have fulfilled another one.
        for (auto& format : subtitle->GetSubtitleFormats())
            formats.push_back(std::move(format));
        TakeSubtitle(finished, path, subtitle->GetLanguageCode(), converted(std::move(formats)));
    }
    if (auto const subtitle = downloadItem_->CurrentDownloadSubtitle(); chosen.empty() && subtitle != nullptr)
        TakeSubtitle(finished, path, subtitle->GetLanguageCode(),
                     converted({subtitle->GetCurrentSubtitleFormat()}));
}

void HVDownloadTaskDownload::TakeSubtitle(HVFinishedFile& finished, std::string const& path,
                                          std::string const& language,
                                          std::vector<std::string> const& formats) const {
    std::string const stem = IHVFileProvider::RemovePathExtension(path);
    for (auto const& format : formats) {
        std::string const side = std::string(language).append(".").append(format);
        // The site names the language, which may not lead to a file of another folder.
        if (side.find('/') != std::string::npos)
            continue;
        // The tool keeps the asked-for extension in the name when the format's own is another one.
        for (auto const& front : {stem, path})
            if (auto const file = IHVFileProvider::AppendPathExtension(front, side);
                IHVFileProvider::PathFileExist(file)) {
                finished.sides.push_back({file, LegalSideExtension(side)});
                return;
            }
    }
    IHVLogConfig::Printf("Failed to move %s.%s to %s: the tool did not make it", stem.c_str(),
                         language.c_str(), outputPath_.c_str());
}

} // namespace Halvorn
