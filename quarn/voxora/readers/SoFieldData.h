#pragma once

#include <string>
#include <vector>

#include "quarn/voxora/export.h"

/// The names of the fields of a node class: those of the parent class first, then its own. One object per class, made
/// with the first instance and deleted when the class is taken out of the type table.
class QUARN_VOXORA_API SoFieldData {
public:
  SoFieldData() = default;
  /// Starts with the parent's fields; none when `parent` is null. The parent is not referred to later.
  explicit SoFieldData(const SoFieldData* parent);

  void addField(const std::string& name) { names_.push_back(name); }
  const std::vector<std::string>& fieldNames() const { return names_; }

private:
  std::vector<std::string> names_;
};
