#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

/// A NIfTI-1 file made by hand, field by field, so that what the reader finds does not depend on the library it uses.
/// The header is that of a 3 x 4 x 5 volume of bytes with unit voxels and no orientation; tests change what they need.
class NiftiBytes {
public:
  enum Type : std::int16_t {
    UInt8 = 2,
    Int16 = 4,
    Int32 = 8,
    Float = 16,
    Complex = 32,
    Double = 64,
    Rgb = 128,
    Int8 = 256,
    UInt16 = 512,
    UInt32 = 768,
    Int64 = 1024,
    UInt64 = 1280,
  };

  NiftiBytes() : header_(352, '\0') {
    put<std::int32_t>(0, 348);
    setDimensions({3, 4, 5});
    setType(UInt8, 8);
    for (std::size_t i = 0; i < 8; ++i) put<float>(76 + 4 * i, 1.0F);
    put<float>(108, 352.0F);
    header_.replace(344, 4, std::string("n+1\0", 4));
  }

  /// Any number of dimensions, up to seven.
  void setDimensions(const std::vector<std::int16_t>& sizes) {
    put<std::int16_t>(40, static_cast<std::int16_t>(sizes.size()));
    for (std::size_t i = 0; i < 7; ++i) put<std::int16_t>(42 + 2 * i, i < sizes.size() ? sizes[i] : std::int16_t{1});
  }

  void setType(Type type, std::int16_t bits) {
    put<std::int16_t>(70, type);
    put<std::int16_t>(72, bits);
  }

  /// Intent 1002 says that the voxels are labels.
  void setIntent(std::int16_t code) { put<std::int16_t>(68, code); }

  void setScale(float slope, float intercept) {
    put<float>(112, slope);
    put<float>(116, intercept);
  }

  /// The rows of the matrix that leads from voxels to millimetres, x to the right and y to the front.
  void setAffine(const std::array<std::array<float, 4>, 3>& rows) {
    put<std::int16_t>(254, 1);
    for (std::size_t r = 0; r < 3; ++r) {
      for (std::size_t c = 0; c < 4; ++c) put<float>(280 + 16 * r + 4 * c, rows[r][c]);
    }
    for (std::size_t c = 0; c < 3; ++c) {
      float sum = 0.0F;
      for (std::size_t r = 0; r < 3; ++r) sum += rows[r][c] * rows[r][c];
      put<float>(80 + 4 * c, std::sqrt(sum));
    }
  }

  /// The other way to place the lattice: unturned axes x to the right, y to the front and z up, and an origin.
  void setUnturnedQuaternion(const std::array<float, 3>& origin) {
    put<std::int16_t>(252, 1);
    for (std::size_t i = 0; i < 3; ++i) put<float>(268 + 4 * i, origin[i]);
  }

  template <typename T>
  void put(std::size_t offset, T value) {
    std::memcpy(header_.data() + offset, &value, sizeof(T));
  }

  void putText(std::size_t offset, const std::string& text) { header_.replace(offset, text.size(), text); }

  /// Voxels, x fastest.
  template <typename T>
  void setVoxels(const std::vector<T>& voxels) {
    voxels_.assign(reinterpret_cast<const char*>(voxels.data()), voxels.size() * sizeof(T));
  }

  const std::string& header() const { return header_; }
  const std::string& voxels() const { return voxels_; }
  std::string file() const { return header_ + voxels_; }

private:
  std::string header_;
  std::string voxels_;
};
