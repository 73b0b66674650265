#pragma once
// A format that holds the values of one row of the tool's list: from a JSON object, or from a row of the
// plain table. See IHVDownloadFormat for threads and ownership.

#include "HVJsonObjectFormat.h"
#include "IHVDownloadFormat.h"

namespace Halvorn {

class HVFields;

class HVDownloadFormat final : public IHVDownloadFormat {
public:
    HVDownloadFormat() = default;
    /// The answers of any other format, merged ones included; the defaults for an empty pointer.
    explicit HVDownloadFormat(IHVDownloadFormat const* other);
    explicit HVDownloadFormat(std::shared_ptr<IHVDownloadFormat> const& other);

    bool AudioOnly() const override { return audioOnly_; }
    bool VideoOnly() const override { return videoOnly_; }
    bool MergeFormat() const override { return false; }
    std::string VideoCodecShortName() const override { return FindShortName(videoCodecName_); }
    std::string VideoCodecName() const override { return videoCodecName_; }
    std::string AudioCodecShortName() const override { return FindShortName(audioCodecName_); }
    std::string AudioCodecName() const override { return audioCodecName_; }
    std::string FormatCode() const override { return formatCode_; }
    std::string Extension() const override { return extension_; }
    std::string Resolution() const override { return resolution_; }
    int Width() const override { return width_; }
    int Height() const override { return height_; }
    float FramePerSecond() const override { return framePerSecond_; }
    int ChannelCount() const override { return channelCount_; }
    std::string TBR() const override { return tbr_; }
    std::string Proto() const override { return proto_; }
    std::string VBR() const override { return vbr_; }
    std::string ABR() const override { return abr_; }
    std::string ASR() const override { return asr_; }
    std::string HDR() const override { return hdr_; }
    std::string MoreInfo() const override { return moreInfo_; }
    std::string SizeFormat() const override { return sizeFormat_; }
    std::uint64_t Size() const override { return size_; }
    void SetEstSize(unsigned long long size) override;
    std::string GetAudioLanguage() const override { return audioLanguage_; }
    std::string PostProcessingOpts() const override { return {}; }
    std::shared_ptr<IHVDownloadFormat> Clone() const override;

    /// False for a row that is not offered: no identifier, a storyboard, an empty pointer. Width and height
    /// are 0 where the adapter throws.
    bool LoadFromJsonObject(std::shared_ptr<HVJsonObjectFormat> const& json);
    /// The name up to its first dot, but for a dot at its start.
    std::string FindShortName(std::string const& name) const;

    /// What the tool takes where a document says nothing.
    static constexpr int kNoLanguagePreference = -1;
    int PreferenceOfLanguage() const { return languagePreference_; }

    ///@{
    /// All that it holds, for a file.
    void Write(HVFields& fields) const;
    void Read(HVFields const& fields);
    ///@}

    // The plain table, HVDownloadFormatTable.cpp.

    static bool IsFormatAuxiliary(std::string const& text);
    bool LoadFormPainText(std::string const& row, std::string const& head);
    /// The same for a row as the tool really prints it: its sections are where the head line has its bars, so
    /// that an identifier or a note may hold one, and a size may be in TiB.
    bool LoadFromTable(std::string const& row, std::string const& head);
    bool ParseFormatFirstPart(std::string const& row, std::string const& head);
    bool ParseFormatSecondPart(std::string const& row, std::string const& head);
    bool ParseFormatThirdPart(std::string const& row, std::string const& head);
    std::string ReadLeftAlignValueForKey(std::string const& key, std::string const& row,
                                         std::string const& head) const;
    std::string ReadRightAlignValueForKey(std::string const& key, std::string const& row,
                                          std::string const& head) const;
    int IndexOfNextKeyFromPos(int pos, std::string const& text) const;
    int IndexOfNearestWhitespaceReverse(int pos, std::string const& text) const;
    void ParseResolution(std::string const& text);
    /// Throws std::invalid_argument when no number stands before the unit.
    void ParseSizeFormat(std::string const& text);
    bool IsSizeString(std::string const& text) const;

private:
    /// A text of the record, and its name in a file.
    struct TextField {
        char const* name;
        std::string HVDownloadFormat::*text;
    };
    static TextField const kTexts[14];

    bool LoadSections(std::vector<std::string> const& rows, std::vector<std::string> const& heads);

    std::string videoCodecName_;
    std::string audioCodecName_;
    std::string formatCode_;
    std::string extension_;
    std::string resolution_;
    std::int32_t width_ = 0;
    std::int32_t height_ = 0;
    float framePerSecond_ = 0.0F;
    std::int32_t channelCount_ = 0;
    std::string tbr_;
    std::string proto_;
    std::string vbr_;
    std::string abr_;
    std::string asr_;
    std::string hdr_;
    std::string moreInfo_;
    std::string sizeFormat_;
    std::string audioLanguage_;
    int languagePreference_ = kNoLanguagePreference;
    std::uint64_t size_ = 0;
    bool audioOnly_ = false;
    bool videoOnly_ = false;
};

} // namespace Halvorn
