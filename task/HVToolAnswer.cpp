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
    HVFault const fault = RememberedFault(errorText);
    return FaultError(kFile, line, function, errorText.empty() ? otherwise : errorText, fault,
                      ReasonOf(fault));
}

std::shared_ptr<IHVError const> WithToolsFault(std::shared_ptr<IHVError const> const& failure,
                                               std::string const& errorText) {
    HVFault const fault = RememberedFault(errorText);
    return FaultError(failure->GetSourceFile(), failure->GetSourceLine(), failure->GetFunctionName(),
                      failure->GetErrorMessage(), fault, ReasonOf(fault));
}

std::shared_ptr<IHVError const> AnswerFailure(int line, char const* function, std::string const& front,
                                              std::string const& errorText,
                                              std::shared_ptr<IHVError const> const& unreadable) {
    HVFault const fault = RememberedFault(errorText);
    std::string reason = ReasonOf(fault);
    if (reason.empty() && HVDownloadTaskParser::ParseFatalError(errorText)->Succeed())
        reason = unreadable == nullptr ? "The tool's answer holds nothing to download."
                                       : "The tool's answer can't be read: " + unreadable->GetErrorMessage();
    return FaultError(kFile, line, function, front + (errorText.empty() ? kUnknownError : errorText), fault,
                      reason);
}

} // namespace Halvorn
