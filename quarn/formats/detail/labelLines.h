#pragma once

#include <QString>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/formats/LabelNames.h"

namespace quarn::formats::detail {

/// What the lines of a label table look like; LabelNames.h shows them.
enum class LabelDialect { Names, ColorTable, Descriptions };

/// A line with something in it, without the blanks in front.
struct LabelLine {
  std::string_view text;
  int number = 0;  ///< from 1 on
};

struct LabelEntry {
  std::uint32_t value = 0;
  std::string_view name;  ///< empty only in descriptions
  std::optional<LabelColor> color;
};

/// The lines of a text that are neither blank nor comments, as far as they are UTF-8. `source` stands for the file in
/// messages. Throws McException naming the line that is not UTF-8.
std::vector<LabelLine> labelLines(std::string_view text, const QString& source);

/// The dialect of most lines; names when no other fits half of them.
LabelDialect dialectOf(const std::vector<LabelLine>& lines);

/// Throws McException with `place` in front when the line does not follow the dialect.
LabelEntry parseLabelLine(std::string_view line, LabelDialect dialect, const QString& place);

}  // namespace quarn::formats::detail
