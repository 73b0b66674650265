#include "HVFinishedFile.h"

#include "HVFileMove.h"
#include "HVFileReservation.h"
#include "HVFileSystem.h"
#include "HVTmpFolder.h"
#include "IHVFileProvider.h"
#include "IHVLogConfig.h"

#include <cerrno>
#include <string_view>
#include <utility>

namespace Halvorn {

namespace {

/// Behind the name of a file in a folder that has so many of that name.
constexpr int kMaxNumber = 1'000'000;
/// Stands in no path.
constexpr char kSeparator = '\0';

std::string Numbered(std::string const& stem, int number) {
    return number == 0 ? stem : stem + " (" + std::to_string(number) + ")";
}

std::string WithExtension(std::string const& stem, std::string const& extension) {
    return extension.empty() ? stem : IHVFileProvider::AppendPathExtension(stem, extension);
}

/// Beside a media file that has its name already. That both names were free was looked at before; where
/// another process has taken this one since, the number stands behind the language.
std::string PlaceSide(HVSideFile const& side, std::string const& stem) {
    HVFileMove move(side.path);
    auto const point = side.extension.rfind('.');
    bool const two = point != std::string::npos;
    std::string const front = two ? stem + "." + side.extension.substr(0, point) : stem;
    std::string const extension = two ? side.extension.substr(point + 1) : side.extension;
    for (int number = 0; number < kMaxNumber; ++number) {
        std::string target = WithExtension(Numbered(front, number), extension);
        HVFileFailure const failure = move.To(target, false);
        if (failure.error == EEXIST)
            continue;
        if (!failure.Happened())
            return target;
        IHVLogConfig::Printf("Failed to move %s to %s: %s", side.path.c_str(), target.c_str(),
                             failure.reason.c_str());
        break;
    }
    return {};
}

HVPlacement NotPlaced(HVFinishedFile const& file, std::string const& target, HVFileFailure const& failure) {
    IHVLogConfig::Printf("Failed to move %s to %s", file.path.c_str(), target.c_str());
    HVPlacement placement;
    placement.failure = MoveFailureText(file.path, target, failure);
    placement.ended = failure.error == ECANCELED;
    return placement;
}

} // namespace

std::string HVFinishedFile::Record() const {
    std::string record;
    auto const add = [&record](std::string_view part) {
        record += part;
        record += kSeparator;
    };
    for (std::string const& part : {folder, name, extension})
        add(part);
    for (auto const& side : sides) {
        add(std::string_view(side.path).substr(side.path.rfind('/') + 1));
        add(side.extension);
    }
    return record;
}

bool HVFinishedFile::Load(std::string const& record, std::string const& from) {
    std::vector<std::string> parts;
    for (std::size_t begin = 0; begin < record.size();) {
        std::size_t const end = record.find(kSeparator, begin);
        if (end == std::string::npos)
            return false;
        parts.push_back(record.substr(begin, end - begin));
        begin = end + 1;
    }
    constexpr std::size_t kOwnParts = 3;
    if (parts.size() < kOwnParts)
        return false;
    folder = parts[0];
    name = parts[1];
    extension = parts[2];
    for (std::size_t i = kOwnParts; i + 1 < parts.size(); i += 2)
        if (!parts[i].empty())
            sides.push_back({IHVFileProvider::AppendPathComponent(from, parts[i]), parts[i + 1]});
    return !folder.empty() && !name.empty();
}

HVPlacement PutIntoFolder(HVFinishedFile const& file) {
    if (file.folder.empty())
        return NotPlaced(file, "", {EINVAL, "no folder is named"});
    HVAtomicFile::RemoveLeftovers(file.folder);
    std::string const stem = IHVFileProvider::AppendPathComponent(file.folder, file.name);
    std::string const extension = LegalExtension(file.extension);
    HVFileMove move(file.path);
    for (int number = 0; number < kMaxNumber; ++number) {
        std::string const numbered = Numbered(stem, number);
        std::string const target = WithExtension(numbered, extension);
        std::vector<std::string> paths = {target};
        for (auto const& side : file.sides)
            paths.push_back(WithExtension(numbered, side.extension));
        HVReservedPaths names;
        if (!names.Take(paths))
            continue;
        HVFileFailure const failure = move.To(target, false);
        if (failure.error == EEXIST)
            continue; // another process took the name since
        HVPlacement placement;
        if (failure.Happened())
            placement = NotPlaced(file, target, failure);
        else
            placement.target = target;
        for (auto const& side : file.sides)
            placement.sides.push_back(placement.ended ? std::string() : PlaceSide(side, numbered));
        return placement;
    }
    return NotPlaced(file, stem, {EEXIST, FileErrorReason(EEXIST)});
}

HVPlacement PlaceFinishedFile(HVFinishedFile const& file) {
    HVMoveUnderWay const underWay;
    KeepFinishedFile(file);
    HVPlacement placement = PutIntoFolder(file);
    if (placement.failure.empty())
        ForgetKeptFile(file.path);
    else if (!placement.ended)
        IHVFileProvider::KeepTmpFile(file.path); // where the error says that it is: no later start moves it
    return placement;
}

} // namespace Halvorn
