#pragma once
// Makes JSON that the tool really prints readable for a strict parser. Pure; any thread.

#include <string>

namespace Halvorn {

/// True when the text may hold half of a surrogate pair as an escape; cheap, and never false when it does.
bool MayHoldLoneSurrogate(std::string const& text);

/// A copy in which each escape of a lone surrogate is "\ufffd" and each number too large for a double is
/// null. What is no JSON for another reason stays as it is.
std::string RepairJson(std::string const& text);

} // namespace Halvorn
