#include "HVMetadataSides.h"

#include "HVFileSystem.h"
#include "HVJsonRead.h"
#include "IHVFileProvider.h"
#include "IHVLogConfig.h"

#include <fstream>

namespace Halvorn {

namespace {

constexpr char kInfo[] = "info.json";
constexpr char kDescription[] = "description";
/// What the tool calls pictures; the name is the site's.
constexpr char const* kPictures[] = {"jpg", "jpeg", "png", "webp", "gif", "avif", "heic", "image"};
/// In a document that others may get to see. Its headers hold some of them, too.
std::vector<std::string> const& Secrets() {
    static auto const& names =
        *new std::vector<std::string>{"cookies", "cookie", "authorization", "proxy-authorization"};
    return names;
}
constexpr std::size_t kLongestDocument = std::size_t{256} << 20;

/// The file with this extension that the tool made; it keeps the asked-for extension of the media in the name
/// where the format's own is another one.
std::string Made(std::string const& media, std::string const& extension) {
    for (auto const& front : {IHVFileProvider::RemovePathExtension(media), media})
        if (std::string path = IHVFileProvider::AppendPathExtension(front, extension);
            path != media && IHVFileProvider::PathFileExist(path))
            return path;
    return {};
}

bool TakeSecretsOut(std::string const& path) {
    std::string text;
    if (!ReadRegularFile(path, kLongestDocument, text))
        return false;
    text = IHVJsonReader::JsonTextWithout(IHVJsonReader::ReadJsonString(text, nullptr), Secrets());
    if (text.empty())
        return false;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text << '\n';
    file.close();
    return file.good();
}

} // namespace

std::vector<std::string> MetadataArgs(HVMetadataFiles const& wanted) {
    std::vector<std::string> args;
    if (wanted.infoJson)
        args.emplace_back("--write-info-json");
    if (wanted.thumbnail)
        args.emplace_back("--write-thumbnail");
    if (wanted.description)
        args.emplace_back("--write-description");
    // Those of the list that the item is in would take the same names, and come first.
    if (!args.empty())
        args.emplace_back("--no-write-playlist-metafiles");
    return args;
}

std::vector<HVSideFile> TakeMetadata(HVMetadataFiles const& wanted, std::string const& path) {
    std::vector<HVSideFile> sides;
    auto const take = [&](std::string const& extension) {
        std::string const made = Made(path, extension);
        if (!made.empty())
            sides.push_back({made, extension});
        return !made.empty();
    };
    bool missing = wanted.description && !take(kDescription);
    if (wanted.infoJson && (!take(kInfo) || !TakeSecretsOut(sides.back().path))) {
        std::erase_if(sides, [](HVSideFile const& side) { return side.extension == kInfo; });
        missing = true;
    }
    if (wanted.thumbnail) {
        bool found = false;
        for (char const* const extension : kPictures)
            found = found || take(extension);
        missing = missing || !found;
    }
    if (missing)
        IHVLogConfig::Printf("Some of the metadata of %s is not there", path.c_str());
    return sides;
}

} // namespace Halvorn
