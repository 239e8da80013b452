#pragma once

#include <string>

/// What a process does until it is killed, over and over: prints "begin" when it is ready, waits for a line, and then
/// prints the number of each round once that is done. False for a `mode` that is not known.
///
///   first    saves a new set, of the number, to FILE with the number behind it
///   over     saves a new set, of the number, to FILE
///   renames  loads FILE, exchanges names of masks, saves it in its place; the number of the set
///   flush    edits masks in the temporary storage and flushes them
///   borrow   loads FILE, makes its masks own their files and drops them
bool runUntilKilled(const std::string& mode, int firstNumber, const std::string& file);
