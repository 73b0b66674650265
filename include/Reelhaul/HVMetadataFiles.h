#pragma once
/// \file
/// What a download writes beside its file: IHVDownloadController::SetMetadataFiles.

namespace Halvorn {

/// Plain values. Each file is called like the media file, with another extension, and never replaces one:
/// where a name is taken, the media file and all beside it get the same number.
struct HVMetadataFiles {
    /// ".info.json": the tool's document of the download, without cookies and authorizations. It still holds
    /// the addresses of the media, which let anybody in for some hours.
    bool infoJson = false;
    bool thumbnail = false;   ///< ".jpg", ".webp" or what the site has: the best picture, as it comes
    bool description = false; ///< ".description": the site's text, where it has one
};

} // namespace Halvorn
