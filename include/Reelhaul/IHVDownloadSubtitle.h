#pragma once
/// \class Halvorn::IHVDownloadSubtitle
/// One language of an item's subtitles: its code, its name, and the file formats on offer.
///
/// Thread-safety: none of its own; one thread at a time while the choice is changed. No operation blocks.
/// Ownership: held by shared pointers; the item holds its subtitles.

#include "HVExport.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

class HV_EXPORT IHVDownloadSubtitle {
public:
    /// The tool's key of the language, such as "en".
    virtual std::string GetLanguageCode() const = 0;
    /// The name to show.
    virtual std::string GetLanguageName() const = 0;
    /// The file formats on offer, as extensions in ascending byte order.
    virtual std::vector<std::string> GetSubtitleFormats() const = 0;
    /// The address of the file in this format; empty when the format is not on offer.
    virtual std::string GetSubtitleURL(std::string const& format) const = 0;
    ///@{
    /// Without effect: the formats are those that the analysis found.
    virtual void AddSubtitleFormat(std::string const& format, std::string const& url) = 0;
    virtual void AddSubtitleFormats(std::map<std::string, std::string> formats) = 0;
    ///@}
    /// The chosen file format, at first the first one on offer.
    virtual std::string GetCurrentSubtitleFormat() const = 0;
    /// Chooses a file format; it need not be on offer. An empty text clears the choice and gives false.
    virtual bool SetCurrentSubtitleFormat(std::string const& format) = 0;
    /// Ending of the subtitle file's name: language code, ".", chosen format.
    virtual std::string CurrentSubtitleExtension() const = 0;

    /// Whether people made it; else the site's machine did.
    bool MadeByPeople() const;

protected:
    ~IHVDownloadSubtitle() = default;
};

} // namespace Halvorn

/// Whether a's language name goes before b's. Only the first letter counts, without its case; bytes above 127
/// go before ASCII. An empty pointer counts as an empty name.
/// \relates Halvorn::IHVDownloadSubtitle
HV_EXPORT bool CompareByName(std::shared_ptr<Halvorn::IHVDownloadSubtitle>& a,
                             std::shared_ptr<Halvorn::IHVDownloadSubtitle>& b);
