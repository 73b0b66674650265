#pragma once
/// \class Halvorn::IHVDownloadFormat
/// One way to fetch an item: one row of the tool's format list, or a video row and an audio row together.
///
/// Thread-safety: a format does not change once it is loaded, but for SetEstSize; reading it from several
/// threads is safe while nobody calls that. No operation blocks.
/// Ownership: held by shared pointers. A merged format shares its two halves with the item's other formats.

#include "HVExport.h"

#include <cstdint>
#include <memory>
#include <string>

namespace Halvorn {

///@{
/// The column keys of the tool's format table.
HV_EXPORT extern char const HVFormatIDKey[];
HV_EXPORT extern char const HVFormatExtKey[];
HV_EXPORT extern char const HVFormatResolutionKey[];
HV_EXPORT extern char const HVFormatFPSKey[];
HV_EXPORT extern char const HVFormatHDRKey[];
HV_EXPORT extern char const HVFormatCHKey[];
HV_EXPORT extern char const HVFormatFileSizeKey[];
HV_EXPORT extern char const HVFormatTBRKey[];
HV_EXPORT extern char const HVFormatProtoKey[];
HV_EXPORT extern char const HVFormatVCodecKey[];
HV_EXPORT extern char const HVFormatVBRKey[];
HV_EXPORT extern char const HVFormatACodecKey[];
HV_EXPORT extern char const HVFormatABRKey[];
HV_EXPORT extern char const HVFormatASRKey[];
HV_EXPORT extern char const HVFormatMoreInfoKey[];
///@}

class HV_EXPORT IHVDownloadFormat {
public:
    /// The container kinds, taken from the extension.
    enum FormatType : int {
        FormatMP4 = 0,
        FormatMP3 = 1,
        FormatM4A = 2,
        FormatMKV = 3,
        FormatMKA = 4,
        FormatWebM = 5,
        FormatWebA = 6,
        FormatUnknown = 7
    };

    /// Sound only.
    virtual bool AudioOnly() const = 0;
    /// Picture only.
    virtual bool VideoOnly() const = 0;
    /// Whether this stands for a video and an audio format that the tool joins.
    virtual bool MergeFormat() const = 0;
    /// Name of the video half's own container; empty for a format that is not merged.
    virtual std::string MergeFormatName() const { return {}; }
    ///@{
    /// Codec name as the tool gave it ("none" stays "none"); the short one is cut at the first dot.
    virtual std::string VideoCodecShortName() const = 0;
    virtual std::string VideoCodecName() const = 0;
    virtual std::string AudioCodecShortName() const = 0;
    virtual std::string AudioCodecName() const = 0;
    ///@}
    /// The tool's identifier of the format; video and audio with a "+" between them for a merged one.
    virtual std::string FormatCode() const = 0;
    /// File extension without a dot.
    virtual std::string Extension() const = 0;
    /// Resolution text, such as "1920x1080".
    virtual std::string Resolution() const = 0;
    ///@{
    /// Size of the picture in pixels, 0 when unknown.
    virtual int Width() const = 0;
    virtual int Height() const = 0;
    ///@}
    virtual float FramePerSecond() const = 0;   ///< frames a second, 0 when unknown
    virtual int ChannelCount() const = 0;       ///< channels of the sound, 0 when unknown
    virtual std::string TBR() const = 0;        ///< display text: total bitrate
    virtual std::string Proto() const = 0;      ///< display text: transfer protocol
    virtual std::string VBR() const = 0;        ///< display text: bitrate of the picture
    virtual std::string ABR() const = 0;        ///< display text: bitrate of the sound
    virtual std::string ASR() const = 0;        ///< display text: sample rate
    virtual std::string HDR() const = 0;        ///< display text: dynamic range
    virtual std::string MoreInfo() const = 0;   ///< display text: free
    virtual std::string SizeFormat() const = 0; ///< display text: size
    /// Size in bytes, 0 when unknown.
    virtual std::uint64_t Size() const = 0;
    /// Sets an estimated size in bytes. A merged format ignores it: its size is the sum of its halves.
    virtual void SetEstSize(unsigned long long size) = 0;
    /// Language of the sound, empty when unknown.
    virtual std::string GetAudioLanguage() const = 0;
    /// Option text for the tool's post-processing, empty for none.
    virtual std::string PostProcessingOpts() const = 0;
    /// A deep copy.
    virtual std::shared_ptr<IHVDownloadFormat> Clone() const = 0;

    /// The kind of the present Extension; compared with case.
    FormatType GetFormatType() const;
    /// Name of a kind; "webm" also for FormatWebA, "unknown" for FormatUnknown and for any other number.
    static std::string GetFormatName(FormatType type);
    /// Name of this format's kind.
    std::string GetFormatName() const;
    ///@{
    /// Whether GetFormatType is that kind.
    bool IsMP4() const;
    bool IsMP3() const;
    bool IsM4A() const;
    bool IsMKV() const;
    bool IsMKA() const;
    bool IsWebM() const;
    bool IsWebA() const;
    ///@}
    /// Whether the text is the head line of the tool's format table.
    static bool IsFormatAuxiliary(std::string const& text);
    /// The format of one row of the tool's format table; empty when the row is none or is not offered. Throws
    /// std::invalid_argument for a size that is a unit with a lone point before it.
    static std::shared_ptr<IHVDownloadFormat> MallocDownloadFormat(std::string const& row,
                                                                   std::string const& head);

    ///@{
    /// Whether this ranks before `other`: any format before none; sounds among themselves by size; a sound
    /// never before a format with a picture; pictures by width, then height, then size. This is no strict
    /// weak order, so do not sort with std::sort by it.
    bool BetterThan(IHVDownloadFormat const* other) const;
    bool BetterThan(std::shared_ptr<IHVDownloadFormat const> const& other) const;
    ///@}
    ///@{
    /// Whether both are the same to a user: identifier, protocol and language play no part.
    bool operator==(IHVDownloadFormat const* other) const;
    bool operator==(std::shared_ptr<IHVDownloadFormat const> const& other) const;
    ///@}
    /// 1 when `a` is better, -1 when `b` is, 0 when neither is or either is empty.
    static int CompareDownloadFormat(std::shared_ptr<IHVDownloadFormat> const& a,
                                     std::shared_ptr<IHVDownloadFormat> const& b);
    /// Whether the two, in either order, are a video and an audio format whose containers go together.
    static bool CanMergeDownloadFormat(std::shared_ptr<IHVDownloadFormat> const& a,
                                       std::shared_ptr<IHVDownloadFormat> const& b);
    /// The merged format of the two; empty when they can't be merged. With `forceMKV` the joined file is mkv
    /// whatever the halves are.
    static std::shared_ptr<IHVDownloadFormat> MergeDownloadFormat(std::shared_ptr<IHVDownloadFormat> const& a,
                                                                  std::shared_ptr<IHVDownloadFormat> const& b,
                                                                  bool forceMKV);
    /// How much the tool wants the language of the sound: 10 for the original, -1 for a dub, -10 for a
    /// description for the blind; -1 too where nothing tells, and for a format without a document.
    int LanguagePreference() const;
    /// The line that a user sees for the format.
    std::string Description() const;

protected:
    ~IHVDownloadFormat() = default;
};

} // namespace Halvorn
