#pragma once

#include <string>
#include <vector>

#include "quarn/kernel/export.h"

/// A script line of words, UTF-8, in which each of them is one word whatever it holds; without a line end.
QUARN_KERNEL_API std::string scriptLine(const std::vector<std::string>& words);
