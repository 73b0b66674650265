#include "HVToolAnswer.h"

#include "HVDownloadTaskParser.h"
#include "HVExplainedError.h"
#include "HVToolReport.h"

namespace Halvorn {

namespace {

constexpr char kFile[] = "HVDownloadTaskParser";
constexpr char kUnknownError[] = "Unknown error, please try again later.";

} // namespace

std::shared_ptr<IHVError const> ToolFailure(int line, char const* function, std::string const& errorText,
                                            char const* otherwise) {
    return FaultError(kFile, line, function, errorText.empty() ? otherwise : errorText,
                      RememberedFault(errorText));
}

std::shared_ptr<IHVError const> AnswerFailure(int line, char const* function, std::string const& front,
                                              std::string const& errorText,
                                              std::shared_ptr<IHVError const> const& unreadable) {
    std::string reason;
    if (HVDownloadTaskParser::ParseFatalError(errorText)->Succeed())
        reason = unreadable == nullptr ? "The tool's answer holds nothing to download."
                                       : "The tool's answer can't be read: " + unreadable->GetErrorMessage();
    return FaultError(kFile, line, function, front + (errorText.empty() ? kUnknownError : errorText),
                      RememberedFault(errorText), reason);
}

} // namespace Halvorn
