#pragma once

#include <QString>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "quarn/formats/export.h"

namespace quarn::formats {

/// The names of label values, as given by a label text file.
///
/// One label per line, value first, in any of three dialects:
///
///     1 Precentral_L 2001        value, name, a number of the atlas (dropped)
///     0<tab>Unclassified         value, name up to the next tab; it may hold blanks and end in a number
///     1 G_Frontal_Sup-1 2        value, name, number of the colour (dropped)
///
/// Text is UTF-8 with or without a byte order mark, lines end in LF or CR LF. Blank lines are skipped, and so are lines
/// whose first sign is "#".
class QUARN_FORMATS_API LabelNames {
public:
  /// Largest value a label can have.
  static constexpr std::int64_t largestValue = 2147483647;

  /// Reads a label text file.
  ///
  /// @throws McException, naming file, line and value, for a file that cannot be read, is larger than 16 MiB, is not
  ///   UTF-8 text or names no label; for a value that is not a whole number from 0 to largestValue or that was named
  ///   before; for a line without a name.
  static LabelNames read(const QString& file);

  /// The same for a text in memory; `source` stands for the file in messages.
  static LabelNames parse(std::string_view text, const QString& source);

  /// Name of a value in UTF-8, or null when it has none. Owned by this object.
  const std::string* find(std::uint32_t value) const;

  /// All names by value, in increasing order.
  const std::map<std::uint32_t, std::string>& byValue() const { return names_; }

private:
  std::map<std::uint32_t, std::string> names_;
};

}  // namespace quarn::formats
