#pragma once
// Failures whose message is fixed, such as the tool's output as it stands, while the reason is known better.

#include "IHVError.h"

#include <string_view>

namespace Halvorn {

/// What is known of a failure besides its message.
struct HVFault {
    HVErrorKind kind = HVErrorKindOther;
    bool mayPass = false; ///< trying again can help
    int delay = 0;        ///< seconds that the site asks to wait
};

/// A fault of this kind, as it is unless more is known.
HVFault FaultOfKind(HVErrorKind kind);
/// What the words of the tool, of the system or of the library tell.
HVFault FaultOfWords(std::string_view message);

/// An error object of code -1 and title "Error" whose plain message is another text than its message.
std::shared_ptr<IHVError const> ExplainedError(std::string const& file, int line, std::string const& function,
                                               std::string const& message, std::string const& plainMessage);
/// One whose kind is known: with kind "other" its words decide. `plainMessage` may be empty.
std::shared_ptr<IHVError const> FaultError(std::string const& file, int line, std::string const& function,
                                           std::string const& message, HVFault const& fault,
                                           std::string const& plainMessage = {});

/// An error object of an earlier process, of which all this was kept.
std::shared_ptr<IHVError const> KeptError(int code, std::string const& title, std::string const& message,
                                          std::string const& plainMessage, HVFault const& fault);

} // namespace Halvorn
