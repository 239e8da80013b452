#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "quarn/formats/LabelNames.h"
#include "quarn/formats/export.h"

class HxUniformLabelField3;

namespace quarn::formats {

/// A label of a table to be written.
struct QUARN_FORMATS_API TableLabel {
  std::uint32_t value = 0;
  std::string name;  ///< UTF-8, without control characters
  std::optional<LabelColor> color;
};

/// A table as it stands in its file, and what it could not hold, each in words that follow "FILE: ".
struct QUARN_FORMATS_API WrittenTable {
  QByteArray bytes;
  QStringList losses;
};

/// The materials of a field as labels, in the order of their values; see HxUniformLabelField3::materialsByLabel().
/// Throws McException when the field has no materials.
QUARN_FORMATS_API std::vector<TableLabel> labelsOf(const HxUniformLabelField3& field);

/// "value<tab>name". Colours are lost; a name that begins with a number, which could not be told from other columns,
/// gets "_" in front.
QUARN_FORMATS_API WrittenTable toLabelNames(const std::vector<TableLabel>& labels);

/// "value name red green blue opacity", with "_" for each blank in a name. Labels without a colour are grey, and opaque
/// but for value 0.
QUARN_FORMATS_API WrittenTable toColorTable(const std::vector<TableLabel>& labels);

/// "value red green blue opacity visibility visibility "name"", with an apostrophe for each double quote in a name.
/// Labels without a colour are grey, and opaque but for value 0.
QUARN_FORMATS_API WrittenTable toLabelDescriptions(const std::vector<TableLabel>& labels);

/// 768 bytes. Names are lost, and labels above 255; values without a label are black.
QUARN_FORMATS_API WrittenTable toLookupTable(const std::vector<TableLabel>& labels);

/// Registers these tables as formats of label fields: "Label names" (.txt), "Color table" (.ctbl), "Label descriptions"
/// (.label) and "Lookup table" (.lut). What a table cannot hold is told in one line on the console.
void registerLabelTables();

}  // namespace quarn::formats
