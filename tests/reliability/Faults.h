#pragma once
// Lets the nth call of a kind fail in this process: the library's calls to the system land here first.

enum class Fault { None, Spawn, Open, Write, Rename, Folder, Thread, Request };

/// From now on the nth call of this kind fails, and only that one. None lets all succeed.
void FailNth(Fault kind, int nth);
/// Whether the call that was to fail has been made.
bool FaultHappened();
