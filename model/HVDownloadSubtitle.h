#pragma once
// One language of the automatic captions. See IHVDownloadSubtitle for threads and ownership.

#include "HVJsonObjectSubtitle.h"
#include "IHVDownloadSubtitle.h"

namespace Halvorn {

class HVDownloadSubtitle final : public IHVDownloadSubtitle {
public:
    HVDownloadSubtitle() = default;
    /// Takes over the language's name and nothing else; the defaults for an empty pointer.
    explicit HVDownloadSubtitle(IHVDownloadSubtitle const* other);
    /// Takes over nothing.
    explicit HVDownloadSubtitle(std::shared_ptr<IHVDownloadSubtitle> const& other);

    std::string GetLanguageCode() const override { return languageCode_; }
    std::string GetLanguageName() const override { return languageName_; }
    std::vector<std::string> GetSubtitleFormats() const override;
    std::string GetSubtitleURL(std::string const& format) const override;
    void AddSubtitleFormat(std::string const& format, std::string const& url) override;
    void AddSubtitleFormats(std::map<std::string, std::string> formats) override;
    std::string GetCurrentSubtitleFormat() const override { return currentSubtitleFormat_; }
    bool SetCurrentSubtitleFormat(std::string const& format) override;
    std::string CurrentSubtitleExtension() const override;

    /// Replaces name and formats by those of this language, and chooses the first format if there is one.
    /// False for an empty pointer only.
    bool LoadFromJsonObject(std::string const& languageCode,
                            std::shared_ptr<HVJsonObjectSubtitle> const& json);

    /// A language as it was chosen in an earlier process: the one file format is all that is on offer, and
    /// its address is not known.
    static std::shared_ptr<HVDownloadSubtitle> Kept(std::string languageCode, std::string languageName,
                                                    std::string const& format, bool authored);

    bool IsAuthored() const { return authored_; }
    void SetAuthored() { authored_ = true; }

private:
    bool authored_ = false;
    std::string currentSubtitleFormat_;
    std::string languageCode_;
    std::string languageName_;
    std::map<std::string, std::string> subtitleFormats_;
};

} // namespace Halvorn
