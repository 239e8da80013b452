#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>

namespace fuzz {

/// Takes an input and its name, "<target>/<name>".
using SaveSeed = std::function<void(const std::string& name, std::span<const std::byte> bytes)>;

/// Small images of all formats, tables of labels and masks, packed bytes, and segmentations.
void saveImages(const SaveSeed& save);

}  // namespace fuzz
