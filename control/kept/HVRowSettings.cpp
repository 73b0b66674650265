#include "HVRowSettings.h"

#include "HVDownloadArchive.h"
#include "HVFields.h"
#include "HVFileSystem.h"

namespace Halvorn {

namespace {

std::string WishRecord(HVFormatWish const& wish) {
    HVFields fields;
    fields.SetInteger("here", 1);
    fields.SetText("language", wish.language);
    fields.SetInteger("height", wish.maxHeight);
    fields.SetReal("rate", wish.maxFramePerSecond);
    fields.SetText("container", wish.container);
    fields.SetText("codec", wish.codec);
    fields.SetInteger("sound", wish.audioOnly ? 1 : 0);
    fields.SetInteger("worst", wish.worst ? 1 : 0);
    return fields.Text();
}

HVFormatWish WishOf(HVFields const& fields) {
    HVFormatWish wish;
    wish.language = fields.Get("language");
    wish.maxHeight = fields.Int("height");
    wish.maxFramePerSecond = fields.Real("rate");
    wish.container = fields.Get("container");
    wish.codec = fields.Get("codec");
    wish.audioOnly = fields.Flag("sound");
    wish.worst = fields.Flag("worst");
    return wish;
}

} // namespace

std::string SettingsRecord(HVRowSettings const& settings) {
    HVFields fields;
    if (settings.wish.has_value())
        fields.SetText("wish", WishRecord(*settings.wish));
    fields.SetInteger("info", settings.metadata.infoJson ? 1 : 0);
    fields.SetInteger("thumbnail", settings.metadata.thumbnail ? 1 : 0);
    fields.SetInteger("description", settings.metadata.description ? 1 : 0);
    fields.SetInteger("skips", settings.skips);
    if (auto const* const archive = dynamic_cast<HVDownloadArchive const*>(settings.archive.get()))
        fields.SetText("archive", AbsolutePath(archive->Path()));
    return fields.Text();
}

HVRowSettings SettingsOfRecord(std::string_view record, std::string& archive) {
    HVFields const fields(record);
    HVRowSettings settings;
    if (auto const wish = fields.Get("wish"); !wish.empty())
        settings.wish = WishOf(HVFields(wish));
    settings.metadata.infoJson = fields.Flag("info");
    settings.metadata.thumbnail = fields.Flag("thumbnail");
    settings.metadata.description = fields.Flag("description");
    settings.skips = fields.Int("skips");
    archive = fields.Get("archive");
    return settings;
}

} // namespace Halvorn
