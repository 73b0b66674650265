#pragma once
// The three streams that every program expects to be born with.

namespace Halvorn {

/// Fills the places of standard input, output and error that the caller has closed. Else the next file or
/// pipe that is opened would get the number of one of them, and our own lines would be written into it. What
/// stands there fails every read and write, so that results that go nowhere are still told as a fault.
/// Call it before anything else is opened.
void FillStandardStreams();

} // namespace Halvorn
