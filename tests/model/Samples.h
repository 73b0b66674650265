#pragma once
// What the tests of the model are made from.

#include "HVDownloadFormat.h"
#include "Text.h"

#include <gmock/gmock.h>

namespace Halvorn {

inline HVJsonNode Node(std::string const& json) {
    HVJsonNode node = IHVJsonReader::ReadJsonString(json, nullptr);
    EXPECT_NE(node, nullptr) << json;
    return node;
}

/// The members of a JSON object without its braces.
inline std::shared_ptr<HVJsonObjectFormat> FormatJson(std::string const& members) {
    return std::make_shared<HVJsonObjectFormat>(Node("{" + members + "}"));
}

/// A format with identifier "x" unless the members tell another.
inline std::shared_ptr<IHVDownloadFormat> Format(std::string const& members) {
    auto format = std::make_shared<HVDownloadFormat>();
    bool const named = members.find("format_id") != std::string::npos;
    EXPECT_TRUE(format->LoadFromJsonObject(FormatJson(named ? members : R"("format_id": "x", )" + members)));
    return format;
}

inline std::shared_ptr<IHVDownloadFormat> Video(std::string const& extension, std::string const& more = "") {
    return Format(R"("resolution": "1920x1080", "vcodec": "vc.1", "acodec": "none", "ext": ")" + extension +
                  "\"" + more);
}

inline std::shared_ptr<IHVDownloadFormat> Audio(std::string const& extension, std::string const& more = "") {
    return Format(R"("resolution": "audio only", "vcodec": "none", "acodec": "ac.2", "ext": ")" + extension +
                  "\"" + more);
}

/// All that a format tells.
inline std::string All(IHVDownloadFormat const& f) {
    return Text(f.FormatCode(), f.Extension(), f.Resolution(), f.Width(), f.Height(), f.FramePerSecond(),
                f.ChannelCount(), f.HDR(), f.Proto(), f.TBR(), f.VBR(), f.ABR(), f.ASR(), f.Size(),
                f.SizeFormat(), f.VideoCodecName(), f.VideoCodecShortName(), f.AudioCodecName(),
                f.AudioCodecShortName(), f.GetAudioLanguage(), f.MoreInfo(), f.AudioOnly(), f.VideoOnly(),
                f.MergeFormat());
}

} // namespace Halvorn
