#pragma once

#include <QString>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "quarn/base/McVec3i.h"
#include "quarn/kernel/fields/HxGeometry3.h"
#include "quarn/kernel/io/ByteStream.h"
#include "quarn/kernel/io/NrrdData.h"
#include "quarn/kernel/io/NrrdHeader.h"
#include "roitools/exchange/Slabs.h"
#include "roitools/export.h"

namespace roitools {

/// The image of a segmentation file: one volume of labels for each layer, read once from its beginning to its end.
class ROITOOLS_API LayeredImage {
public:
  /// Looks at header and file, and at whether the file may hold what its header promises, before any memory is asked
  /// for. Throws McException naming the file, the field and its value, for everything that is no such image.
  explicit LayeredImage(const QString& file);

  const quarn::NrrdHeader& header() const { return header_; }
  const McVec3i& grid() const { return grid_; }
  /// Where the grid lies. What the file does not say, or says in a space that is none of the patient, is told on the
  /// console, and so are axes that are not perpendicular. Throws McException naming the file and what no lattice has.
  HxGeometry3 geometry() const;
  std::int64_t layerCount() const { return layerCount_; }

  /// The next piece of the image, or none behind the last, whose end is checked then. Throws McException when the data
  /// are cut or damaged.
  Slabs::Slab next();

  /// Calls `visit(layer, y, z, x0, x1, label)` for the runs of equal labels but 0 in the piece that was read last.
  /// Throws McException for labels from 2^63 on.
  template <class Visitor>
  void forEachRun(const Slabs::Slab& slab, const Visitor& visit) const;

private:
  void requireLabels() const;
  void readAxes();
  void openData();
  void requireBytes(const quarn::NrrdData& place) const;
  void requireEnd();
  void swapBytes();
  template <class T, class Visitor>
  void forEachRunOf(const Slabs::Slab& slab, const Visitor& visit) const;
  [[noreturn]] void refuseLabel(std::uint64_t label) const;
  [[noreturn]] void refuse(const QString& file, const std::string& what) const;
  [[noreturn]] void refuseField(const char* field, const std::string& what, const std::string& value) const;

  const QString file_;
  const quarn::NrrdHeader header_;
  QString dataFile_;
  McVec3i grid_;
  std::int64_t layerCount_ = 1;
  std::unique_ptr<quarn::ByteStream> data_;
  bool isByteSwapped_ = false;
  std::unique_ptr<Slabs> slabs_;
  std::vector<std::byte> bytes_;  ///< of the present piece
};

template <class Visitor>
void LayeredImage::forEachRun(const Slabs::Slab& slab, const Visitor& visit) const {
  switch (header_.type) {
    case quarn::NrrdHeader::Type::int8:
      return forEachRunOf<std::int8_t>(slab, visit);
    case quarn::NrrdHeader::Type::uint8:
      return forEachRunOf<std::uint8_t>(slab, visit);
    case quarn::NrrdHeader::Type::int16:
      return forEachRunOf<std::int16_t>(slab, visit);
    case quarn::NrrdHeader::Type::uint16:
      return forEachRunOf<std::uint16_t>(slab, visit);
    case quarn::NrrdHeader::Type::int32:
      return forEachRunOf<std::int32_t>(slab, visit);
    case quarn::NrrdHeader::Type::uint32:
      return forEachRunOf<std::uint32_t>(slab, visit);
    case quarn::NrrdHeader::Type::uint64:
      return forEachRunOf<std::uint64_t>(slab, visit);
    default:
      return forEachRunOf<std::int64_t>(slab, visit);
  }
}

template <class T, class Visitor>
void LayeredImage::forEachRunOf(const Slabs::Slab& slab, const Visitor& visit) const {
  const auto* row = reinterpret_cast<const T*>(bytes_.data());
  const std::int64_t width = grid_.x;
  for (std::int64_t z = slab.z; z < slab.z + slab.slices; ++z) {
    for (std::int64_t y = slab.y; y < slab.y + slab.rows; ++y, row += width * layerCount_) {
      for (std::int64_t layer = 0; layer < layerCount_; ++layer) {
        for (std::int64_t x = 0; x < width;) {
          const T label = row[x * layerCount_ + layer];
          const std::int64_t first = x++;
          while (x < width && row[x * layerCount_ + layer] == label) ++x;
          if (label == 0) continue;
          if (!std::in_range<std::int64_t>(label)) refuseLabel(static_cast<std::uint64_t>(label));
          visit(layer, static_cast<int>(y), static_cast<int>(z), static_cast<int>(first), static_cast<int>(x),
                static_cast<std::int64_t>(label));
        }
      }
    }
  }
}

}  // namespace roitools
