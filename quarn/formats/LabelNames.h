#pragma once

#include <QString>
#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "quarn/base/McColor.h"
#include "quarn/formats/export.h"
#include "quarn/kernel/io/HxLoadOptions.h"

namespace quarn::formats {

/// Red, green, blue.
using LabelColor = std::array<std::uint8_t, 3>;

/// Colours of tables as colours of materials and back; each colour of a table comes back as it was.
QUARN_FORMATS_API McColor toMcColor(const LabelColor& color);
QUARN_FORMATS_API LabelColor toLabelColor(const McColor& color);

/// The names and colours of label values, as given by a label table.
///
/// A table is text with one label per line, value first; what it is shows in its lines:
///
///     1 Precentral_L 2001              names: value, name, a number of the atlas (dropped)
///     0<tab>Unclassified               value, name up to the next tab; it may hold blanks and end in a number
///     1 G_Frontal_Sup-1 2              value, name, number of the colour (dropped)
///     1 artery 216 101 79 255          color table: value, name without blanks, red, green, blue, opacity
///     1 216 101 79 1 1 1 "left arm"    label descriptions: value, red, green, blue, opacity from 0 to 1, two switches,
///                                      name
///
/// or a lookup table: 256 bytes of red for the values 0 to 255, then as many of green and of blue. Text is UTF-8 with
/// or without a byte order mark, lines end in LF or CR LF. Blank lines are skipped, and so are lines whose first sign
/// is
/// "#". Opacities and switches are checked and dropped.
class QUARN_FORMATS_API LabelNames {
public:
  /// Largest value a label can have.
  static constexpr std::int64_t largestValue = 2147483647;

  /// Reads a label table.
  ///
  /// @throws McException, naming file, line and value, for a file that cannot be read, is larger than 16 MiB, is
  /// neither
  ///   UTF-8 text nor a lookup table, or holds no label; for a value that is not a whole number from 0 to largestValue
  ///   or that was named before; for a line without a name; for a part of a colour that is not a whole number from 0 to
  ///   255.
  static LabelNames read(const QString& file);

  /// The same for a table in memory; `source` stands for the file in messages.
  static LabelNames parse(std::string_view text, const QString& source);

  /// True when `options` name a table.
  static bool areGiven(const HxLoadOptions& options);

  /// What `options` give: the table "labels", with the colours of the table "colors" instead of its own when there is
  /// one; nothing when they name no table. Throws as read() does, and for colours from a table without any.
  static std::optional<LabelNames> forOptions(const HxLoadOptions& options);

  /// Name of a value in UTF-8, or null when it has none. Owned by this object.
  const std::string* find(std::uint32_t value) const;

  /// Colour of a value, or null when it has none. Owned by this object.
  const LabelColor* color(std::uint32_t value) const;

  /// All names by value, in increasing order.
  const std::map<std::uint32_t, std::string>& byValue() const { return names_; }

  /// All colours by value, in increasing order.
  const std::map<std::uint32_t, LabelColor>& colors() const { return colors_; }

private:
  static LabelNames fromLookupTable(std::string_view bytes);

  std::map<std::uint32_t, std::string> names_;
  std::map<std::uint32_t, LabelColor> colors_;
};

}  // namespace quarn::formats
