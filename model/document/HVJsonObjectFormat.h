#pragma once
// One element of the tool's "formats", read-only. A missing key reads as the empty value of its type, and so
// does everything on an empty node. Nothing is cached; any thread may read.

#include "HVJsonRead.h"

namespace Halvorn {

class HVJsonObjectFormat final {
public:
    explicit HVJsonObjectFormat(HVJsonNode node);

    std::string GetFormatCode() const;
    /// Codec names as they stand: "none" stays.
    std::string GetVideCodecName() const;
    std::string GetAudioCodecName() const;
    std::string GetExtension() const;
    std::string GetResolution() const;
    /// Fall back on the text of the resolution. Throw as std::stoi does when half of that begins with no
    /// number.
    int GetWidth() const;
    int GetHeight() const;
    float GetFPS() const;
    int GetChannelCount() const;
    std::string GetProtocal() const;
    /// Kilobits a second.
    float GetVBR() const;
    float GetABR() const;
    float GetTBR() const;
    /// Hertz.
    int GetASR() const;
    std::string GetDynamicRange() const;
    /// Bytes.
    std::uint64_t GetFileSize() const;
    std::string GetAudioLangauge() const;
    /// 0 when the tool says nothing.
    int GetLanguagePreference() const;

    /// Display text of the numbers above.
    std::string GetVBRString() const;
    std::string GetABRString() const;
    std::string GetTBRString() const;
    std::string GetASRString() const;
    std::string GetFileSizeString() const;
    std::string GetMoreInfo() const;

    bool GetAudioOnly() const;
    bool GetVideoOnly() const;
    /// The bitrate to estimate a size from, in kilobits a second; 0 when none is known.
    float BestBitrate() const;

    /// Not scaled: 1234.56 reads "1234.6K".
    static std::string FormatBitrate(float bitrate);
    /// 44100 reads "44.099998KHz".
    static std::string FormatSamplerate(int samplerate);
    /// 1536 reads "1.50KB".
    static std::string FormatFilesize(unsigned long long size);

private:
    int SizeOr(char const* key, std::size_t part) const;

    HVJsonNode node_;
};

} // namespace Halvorn
