#pragma once

#include <cstddef>
#include <span>
#include <string>

/// Gives every input that the fuzzers kept under fuzz/corpus/NAME and fuzz/regressions/NAME to a target, which returns
/// whether it was read. None may throw; some must be read and some refused, or the corpus has fallen behind the format.
void replayKeptInputs(const std::string& name, bool (*target)(std::span<const std::byte>));
