#pragma once

#include <QString>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quarn/kernel/export.h"

namespace quarn {

/// The text at the beginning of an NRRD file, or in a file of its own (".nhdr") beside the data: fields that describe
/// an array, and pairs of a key and a value of any meaning. Texts are UTF-8 as long as their writers kept to it.
///
/// Read are the versions NRRD0001 to NRRD0005. Fields that are not kept here are passed over when the format knows
/// them, and refused otherwise.
struct QUARN_KERNEL_API NrrdHeader {
  /// What is longer is refused.
  static constexpr std::size_t maxBytes = std::size_t{1} << 20;
  static constexpr std::size_t maxDimension = 16;

  enum class Type { int8, uint8, int16, uint16, int32, uint32, int64, uint64, float32, float64 };
  enum class Endian { unstated, little, big };
  enum class Encoding { raw, text, hex, gzip, bzip2 };

  using Vector = std::vector<double>;
  using KeyValue = std::pair<std::string, std::string>;

  int version = 5;
  Type type = Type::uint8;
  /// Elements along each axis, the fastest first; each at least 1, their product and dataBytes() below 2^63.
  std::vector<std::int64_t> sizes;
  std::string space;       ///< as "left-posterior-superior", never abbreviated; empty: none
  int spaceDimension = 0;  ///< that of `space`, or of the file's own space; 0: none
  /// Of each axis the step from one element to the next, spaceDimension finite numbers, or nothing for an axis that is
  /// not in space. Empty when the field is missing.
  std::vector<std::optional<Vector>> spaceDirections;
  Vector spaceOrigin;              ///< centre of the first element, finite numbers; empty: not told
  Vector spacings;                 ///< of each axis, NaN for those not told; empty: none
  std::vector<std::string> kinds;  ///< of each axis, in lower case, "???" for those not told; empty: none
  Endian endian = Endian::unstated;
  Encoding encoding = Encoding::raw;
  std::string dataFile;       ///< name of the file of the data; empty when they follow the header
  std::int64_t lineSkip = 0;  ///< lines of the data file, as stored, before the data
  std::int64_t byteSkip = 0;  ///< bytes after these lines, decompressed; -1: the data are the end of the file
  /// "space units", "units", "axis mins", "axis maxs", "centers" and "centerings" as they stand in the file, by these
  /// names; toText() leaves them out.
  std::map<std::string, std::string> others;
  std::vector<KeyValue> keyValues;  ///< in the order of the file, escapes resolved

  /// Where in their file the stored data begin, skips not counted: behind the header, or 0 in a file of their own.
  std::uint64_t dataOffset = 0;

  /// Reads a header from the first bytes of a file: all, or at least maxBytes of them.
  ///
  /// @throws McException naming `file`, the field and its value, for whatever is not a whole header of this format.
  static NrrdHeader parse(std::string_view bytes, const QString& file);
  /// The same from a file, of which no more is read than a header may have.
  static NrrdHeader read(const QString& file);

  /// The text of the header, with the empty line that ends it unless there is a data file; parse() gives the same
  /// again.
  ///
  /// @throws McException naming `file`, the field or key, and the value, for what the format cannot hold.
  std::string toText(const QString& file) const;

  std::int64_t elementCount() const;
  /// Bytes of the data when they are not encoded.
  std::int64_t dataBytes() const { return elementCount() * bytesOf(type); }
  static std::int64_t bytesOf(Type type);
  /// The name of a type as it is written.
  static const char* nameOf(Type type);

  /// The value of a key, that of its last pair; null when there is none.
  const std::string* find(std::string_view key) const;

  /// The file of the data of the header in `file`: that file itself, or one beside it.
  ///
  /// @throws McException naming the field and its value when that is not a plain name without a folder ("./" may stand
  ///   in front of it).
  QString dataPath(const QString& file) const;
};

}  // namespace quarn
