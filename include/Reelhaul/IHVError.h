#pragma once
/// \class Halvorn::IHVError
/// The one result object of the library: what an operation came to, for a program and for a person.
///
/// Thread-safety: an error object never changes after it is made and may be read from any thread.
/// Ownership: held by shared pointers, as `shared_ptr<IHVError const>`.

#include "HVConstants.h"
#include "HVErrorKind.h"
#include "HVExport.h"

#include <cstdarg>
#include <memory>
#include <string>

namespace Halvorn {

class HV_EXPORT IHVError {
public:
    /// Makes an error object whose message is `text` as it stands: a "%" in it means nothing.
    /// `file` is the base name of the source file, `function` the short name of the operation.
    static std::shared_ptr<IHVError> MallocError(std::string const& file, int line,
                                                 std::string const& function, int code,
                                                 std::string const& title, char const* text) {
        return MallocErrorText(file, line, function, code, title, text);
    }

    /// The same with a message made from `format` and its arguments in the manner of printf. What is no
    /// complete conversion in `format` stands in the message as it is.
    template <typename... None>
    HV_PRINTF(6, 7)
    static std::shared_ptr<IHVError> MallocError(std::string const& file, int line,
                                                 std::string const& function, int code,
                                                 std::string const& title, char const* format, ...) {
        va_list args;
        va_start(args, format);
        auto error = MallocErrorFormat(file, line, function, code, title, format, args);
        va_end(args);
        return error;
    }

    /// The plain success: code HVErrorCodeSucceed, title "Succeed", message "Operation was succeed".
    static std::shared_ptr<IHVError> MallocSucceed(std::string const& file, int line,
                                                   std::string const& function);
    /// The end by the user's wish: code HVErrorCodeCancelled, title "Cancel", message "User cancelled
    /// operation".
    static std::shared_ptr<IHVError> MallocCancel(std::string const& file, int line,
                                                  std::string const& function);

    /// True when the operation did what it was asked to do.
    bool Succeed() const { return GetErrorCode() == HVErrorCodeSucceed; }
    /// True when the user stopped the operation.
    bool UserCancel() const { return GetErrorCode() == HVErrorCodeCancelled; }

    /// The message in the tool's own words, where it comes from the tool: several lines, its warnings among
    /// them. GetPlainMessage is made for a person.
    virtual std::string const& GetErrorMessage() const = 0;
    /// One word or two above the message: "Error", "Cancel", "Succeed", "IO Error".
    virtual std::string const& GetErrorTitle() const = 0;
    /// HVErrorCodeSucceed, HVErrorCodeCancelled, HVErrorCodeIO, or -1 for any other failure.
    virtual int GetErrorCode() const = 0;
    ///@{
    /// Where the object was made: base name of the source file, line, short name of the operation. For
    /// reports of faults.
    virtual std::string const& GetSourceFile() const = 0;
    virtual int GetSourceLine() const = 0;
    virtual std::string const& GetFunctionName() const = 0;
    ///@}

    /// The message as one plain line for a person, safe for a terminal: see PlainFault. Never empty.
    std::string GetPlainMessage() const;
    /// What kind of failure it is: from what the tool's own exception was, where that is known, else from the
    /// words of the message. HVErrorKindOther where neither tells.
    HVErrorKind GetKind() const;
    /// Whether the same may succeed when it is tried again, after a while, with nothing changed.
    bool CanRetry() const;
    /// Seconds that the site asks to wait before the next try; 0 where it does not say.
    int GetRetryDelay() const;
    /// What the user can do about it, in one sentence; empty where nothing is known to help.
    std::string GetRemedy() const;

protected:
    ~IHVError() = default;

private:
    static std::shared_ptr<IHVError> MallocErrorText(std::string const& file, int line,
                                                     std::string const& function, int code,
                                                     std::string const& title, char const* text);
    HV_PRINTF(6, 0)
    static std::shared_ptr<IHVError> MallocErrorFormat(std::string const& file, int line,
                                                       std::string const& function, int code,
                                                       std::string const& title, char const* format,
                                                       va_list args);
};

} // namespace Halvorn
