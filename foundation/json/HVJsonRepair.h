#pragma once
// Makes JSON that the tool really prints readable for a strict parser. Pure; any thread.

#include <string>

namespace Halvorn {

/// True when the text may hold half of a surrogate pair as an escape; cheap, and never false when it does.
bool MayHoldLoneSurrogate(std::string const& text);

/// The text with "\ufffd" for each escape of a lone surrogate and null for each number too large for a
/// double. What is no JSON for another reason stays as it is, and every byte keeps its place, so that a
/// parser's complaint names the right one.
std::string RepairJson(std::string text);

} // namespace Halvorn
