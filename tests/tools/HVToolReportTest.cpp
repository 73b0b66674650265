#include "HVToolReport.h"

#include "IHVJsonValue.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Halvorn;

namespace {

TEST(HVToolReport, TakesRecordsOutOfTheTextWhereverItIsCut) {
    std::string const mark = ToolReportMark();
    std::string const stream = "frame=1 time=2\r" + mark + "{\"record\":\"a\"}\nERROR: \x1e" + "00 one\n" +
                               mark + "no record\n" + mark + "{\"record\":\"b\"}\nlast" + mark.substr(0, 5);
    for (std::size_t size = 1; size <= stream.size(); ++size) {
        HVToolReportReader reader;
        std::string text;
        std::string records;
        for (std::size_t at = 0; at < stream.size(); at += size)
            text += reader.Take(stream.substr(at, size),
                                [&](auto const& record) { records += record->GetValueString("record"); });
        EXPECT_EQ(text + reader.Rest(), "frame=1 time=2\rERROR: \x1e"
                                        "00 one\nlast" +
                                            mark.substr(0, 5));
        EXPECT_EQ(records, "ab") << size;
    }
    // A line that begins like a record and never ends is text.
    HVToolReportReader reader;
    std::string const endless = mark + std::string(5000, 'x');
    EXPECT_EQ(reader.Take(endless, [](auto const&) {}) + reader.Rest(), endless);
}

TEST(HVToolReport, TellsTheKindByWordsWhereTheToolRaisedNothing) {
    struct Row {
        char const* words;
        HVErrorKind kind;
        bool mayPass;
    };
    for (auto const& [words, kind, mayPass] : std::vector<Row>{
             {"ERROR: [x] 1: Unable to download webpage: HTTP Error 503: Away", HVErrorKindNetwork, true},
             {"ERROR: [x] HTTP Error 407: Proxy Authentication Required", HVErrorKindNetwork, false},
             {"ERROR: [x] HTTP Error 418: Teapot", HVErrorKindOther, false},
             {"ERROR: [x] 1: [SSL: CERTIFICATE_VERIFY_FAILED] certificate verify failed", HVErrorKindNetwork,
              false},
             {"ERROR: unable to open for writing: [Errno 36] File name too long: 'x'",
              HVErrorKindNameImpossible, false},
             {"Download error: ERROR: unable to write data: [Errno 28] No space left on device",
              HVErrorKindDiskFull, false},
             {"ERROR: unable to open for writing: [Errno 13] Permission denied: '/x'",
              HVErrorKindNoPermission, false},
             {"ERROR: could not find firefox cookies database in '/root'", HVErrorKindCookiesUnreadable,
              false},
             {"WARNING: No supported JavaScript runtime could be found\nERROR: Requested format is not "
              "available",
              HVErrorKindRuntimeMissing, false},
             // What a warning, a title or nobody says is no reason.
             {"WARNING: private video\nERROR: [x] 1: the elephants are on strike", HVErrorKindOther, false},
             {"WARNING: unable to find the date", HVErrorKindOther, false},
             {"", HVErrorKindOther, false},
         }) {
        auto const error = IHVError::MallocError("a", 1, "b", -1, "Error", words);
        EXPECT_EQ(error->GetKind(), kind) << words;
        EXPECT_EQ(error->CanRetry(), mayPass) << words;
    }
    EXPECT_EQ(IHVError::MallocCancel("a", 1, "b")->GetKind(), HVErrorKindCancelled);
    EXPECT_EQ(IHVError::MallocSucceed("a", 1, "b")->GetKind(), HVErrorKindNone);
}

} // namespace
