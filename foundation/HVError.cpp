#include "HVDisplayText.h"
#include "HVExplainedError.h"
#include "HVFormat.h"

#include <utility>

namespace Halvorn {

namespace {

class HVError final : public IHVError {
public:
    HVError(std::string file, int line, std::string function, int code, std::string title,
            std::string message, std::string plainMessage = {}, HVFault fault = {})
        : file_(std::move(file)), line_(line), function_(std::move(function)), code_(code),
          title_(std::move(title)), message_(std::move(message)), plainMessage_(std::move(plainMessage)),
          fault_(fault) {}

    std::string const& GetErrorMessage() const override { return message_; }
    std::string const& GetErrorTitle() const override { return title_; }
    int GetErrorCode() const override { return code_; }
    std::string const& GetSourceFile() const override { return file_; }
    int GetSourceLine() const override { return line_; }
    std::string const& GetFunctionName() const override { return function_; }
    std::string const& PlainMessage() const { return plainMessage_; }
    HVFault const& Fault() const { return fault_; }

private:
    std::string file_;
    int line_;
    std::string function_;
    int code_;
    std::string title_;
    std::string message_;
    std::string plainMessage_; ///< empty where the message says it
    HVFault fault_;            ///< other: the words decide
};

/// The message alone tells it, of an error object of the application's own as well.
HVFault FaultOf(IHVError const& error) {
    if (error.Succeed())
        return FaultOfKind(HVErrorKindNone);
    if (error.UserCancel())
        return FaultOfKind(HVErrorKindCancelled);
    auto const* const own = dynamic_cast<HVError const*>(&error);
    return own != nullptr && own->Fault().kind != HVErrorKindOther ? own->Fault()
                                                                   : FaultOfWords(error.GetErrorMessage());
}

} // namespace

std::shared_ptr<IHVError const> ExplainedError(std::string const& file, int line, std::string const& function,
                                               std::string const& message, std::string const& plainMessage) {
    return std::make_shared<HVError>(file, line, function, -1, "Error", message, plainMessage);
}

std::shared_ptr<IHVError const> FaultError(std::string const& file, int line, std::string const& function,
                                           std::string const& message, HVFault const& fault,
                                           std::string const& plainMessage) {
    return std::make_shared<HVError>(file, line, function, -1, "Error", message, plainMessage, fault);
}

std::shared_ptr<IHVError const> KeptError(int code, std::string const& title, std::string const& message,
                                          std::string const& plainMessage, HVFault const& fault) {
    return std::make_shared<HVError>("HVError", __LINE__, "KeptError", code, title, message, plainMessage,
                                     fault);
}

HVErrorKind IHVError::GetKind() const {
    return FaultOf(*this).kind;
}

bool IHVError::CanRetry() const {
    return FaultOf(*this).mayPass;
}

int IHVError::GetRetryDelay() const {
    return FaultOf(*this).delay;
}

std::string IHVError::GetPlainMessage() const {
    auto const* const error = dynamic_cast<HVError const*>(this);
    bool const explained = error != nullptr && !error->PlainMessage().empty();
    return PlainFault(explained ? error->PlainMessage() : GetErrorMessage());
}

std::shared_ptr<IHVError> IHVError::MallocErrorText(std::string const& file, int line,
                                                    std::string const& function, int code,
                                                    std::string const& title, char const* text) {
    return std::make_shared<HVError>(file, line, function, code, title, text == nullptr ? "" : text);
}

std::shared_ptr<IHVError> IHVError::MallocErrorFormat(std::string const& file, int line,
                                                      std::string const& function, int code,
                                                      std::string const& title, char const* format,
                                                      va_list args) {
    return std::make_shared<HVError>(file, line, function, code, title, FormatText(format, args));
}

std::shared_ptr<IHVError> IHVError::MallocSucceed(std::string const& file, int line,
                                                  std::string const& function) {
    return MallocErrorText(file, line, function, HVErrorCodeSucceed, "Succeed", "Operation was succeed");
}

std::shared_ptr<IHVError> IHVError::MallocCancel(std::string const& file, int line,
                                                 std::string const& function) {
    return MallocErrorText(file, line, function, HVErrorCodeCancelled, "Cancel", "User cancelled operation");
}

} // namespace Halvorn
