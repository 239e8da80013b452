#include "quarn/voxora/files/detail/brickPacking.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace hxvoxora::detail {

namespace {

constexpr std::size_t brickBytes = 64;
constexpr unsigned clearCode = 0, setCode = 1, mixedCode = 2, unknownCode = 3;

/// Where the bricks of a tile lie. A brick covers one byte in each of 64 rows.
struct BrickGrid {
  explicit BrickGrid(const McVec3i& tileDimensions)
      : rowBytes(static_cast<std::size_t>(tileDimensions.x) / 8),
        sliceBytes(rowBytes * static_cast<std::size_t>(tileDimensions.y)),
        perAxisY(static_cast<std::size_t>(tileDimensions.y) / 8),
        perAxisZ(static_cast<std::size_t>(tileDimensions.z) / 8) {}

  std::size_t count() const { return rowBytes * perAxisY * perAxisZ; }

  std::size_t rowBytes;  // as many as there are bricks along x
  std::size_t sliceBytes;
  std::size_t perAxisY;
  std::size_t perAxisZ;
};

/// Calls visit(first) for each group of sizeof(Word) bricks that are neighbours along x, in brick order; `first` is the
/// offset of their first byte in the tile.
template <class Word, class Visit>
void forEachGroup(const BrickGrid& grid, Visit visit) {
  for (std::size_t z = 0; z < grid.perAxisZ; ++z) {
    for (std::size_t y = 0; y < grid.perAxisY; ++y) {
      const std::size_t first = z * 8 * grid.sliceBytes + y * 8 * grid.rowBytes;
      for (std::size_t x = 0; x < grid.rowBytes; x += sizeof(Word)) visit(first + x);
    }
  }
}

/// Calls visit(offset) for the 64 rows of a brick: by slices, in each by rows.
template <class Visit>
void forEachRow(const BrickGrid& grid, std::size_t first, Visit visit) {
  for (std::size_t z = 0; z < 8; ++z) {
    for (std::size_t y = 0; y < 8; ++y) visit(first + z * grid.sliceBytes + y * grid.rowBytes);
  }
}

/// Copies the 64 bytes of the brick at `from` in a tile. The strides stand in parameters, and not in an object that the
/// bytes written might belong to, so that they are loaded once.
void gatherBrick(const std::byte* from, std::size_t rowBytes, std::size_t sliceBytes, std::byte* to) {
  for (std::size_t z = 0; z < 8; ++z) {
    for (std::size_t y = 0; y < 8; ++y) to[8 * z + y] = from[z * sliceBytes + y * rowBytes];
  }
}

/// The way back.
void scatterBrick(const std::byte* from, std::byte* to, std::size_t rowBytes, std::size_t sliceBytes) {
  for (std::size_t z = 0; z < 8; ++z) {
    for (std::size_t y = 0; y < 8; ++y) to[z * sliceBytes + y * rowBytes] = from[8 * z + y];
  }
}

template <class Word>
using Lanes = std::array<unsigned char, sizeof(Word)>;

class Packer {
public:
  Packer(std::span<const std::byte> raw, const BrickGrid& grid, std::span<std::byte> out)
      : raw_(raw.data()), grid_(grid), codes_(out.data()), mixed_(out.data() + grid.count() / 4) {
    std::memset(codes_, 0, grid.count() / 4);
  }

  template <class Word>
  std::byte* run() {
    forEachGroup<Word>(grid_, [&](std::size_t first) {
      Word any = 0, all = static_cast<Word>(~Word{0});
      forEachRow(grid_, first, [&](std::size_t at) {
        Word word;
        std::memcpy(&word, raw_ + at, sizeof word);
        any |= word;
        all &= word;
      });
      packGroup(first, std::bit_cast<Lanes<Word>>(any), std::bit_cast<Lanes<Word>>(all));
    });
    return mixed_;
  }

private:
  template <std::size_t Size>
  void packGroup(std::size_t first, const std::array<unsigned char, Size>& any,
                 const std::array<unsigned char, Size>& all) {
    for (std::size_t lane = 0; lane < Size; ++lane, ++brick_) {
      const unsigned code = any[lane] == 0 ? clearCode : all[lane] == 0xFF ? setCode : mixedCode;
      codes_[brick_ / 4] |= static_cast<std::byte>(code << 2 * (brick_ % 4));
      if (code != mixedCode) continue;
      gatherBrick(raw_ + first + lane, grid_.rowBytes, grid_.sliceBytes, mixed_);
      mixed_ += brickBytes;
    }
  }

  const std::byte* raw_;
  const BrickGrid& grid_;
  std::byte* codes_;
  std::byte* mixed_;
  std::size_t brick_ = 0;
};

/// `mixed` is the first of the mixed bricks, which are as many as the codes say.
class Unpacker {
public:
  Unpacker(const std::byte* codes, const std::byte* mixed, const BrickGrid& grid, std::byte* out)
      : codes_(codes), mixed_(mixed), grid_(grid), out_(out) {}

  template <class Word>
  std::string run() {
    forEachGroup<Word>(grid_, [&](std::size_t first) {
      Lanes<Word> lanes;
      for (std::size_t lane = 0; lane < lanes.size(); ++lane) lanes[lane] = code(lane) == setCode ? 0xFF : 0;
      forEachRow(grid_, first, [&](std::size_t at) { std::memcpy(out_ + at, lanes.data(), lanes.size()); });
      for (std::size_t lane = 0; lane < lanes.size(); ++lane) {
        if (code(lane) == mixedCode) unpackMixed(first + lane, brick_ + lane);
      }
      brick_ += lanes.size();
    });
    return objection_;
  }

private:
  unsigned code(std::size_t lane) const {
    const std::size_t brick = brick_ + lane;
    return std::to_integer<unsigned>(codes_[brick / 4]) >> 2 * (brick % 4) & 3;
  }

  void unpackMixed(std::size_t first, std::size_t brick) {
    std::uint64_t any = 0, all = ~std::uint64_t{0};
    for (std::size_t i = 0; i < brickBytes; i += sizeof any) {
      std::uint64_t word;
      std::memcpy(&word, mixed_ + i, sizeof word);
      any |= word;
      all &= word;
    }
    if ((any == 0 || all == ~std::uint64_t{0}) && objection_.empty()) {
      objection_ = "brick " + std::to_string(brick) + " is called mixed, but all of its voxels are equal";
    }
    scatterBrick(mixed_, out_ + first, grid_.rowBytes, grid_.sliceBytes);
    mixed_ += brickBytes;
  }

  const std::byte* codes_;
  const std::byte* mixed_;
  const BrickGrid& grid_;
  std::byte* out_;
  std::size_t brick_ = 0;
  std::string objection_;
};

/// Number of mixed bricks; the number of the first brick with an unknown code goes into `unknown`, if there is any.
std::size_t countMixed(std::span<const std::byte> codes, std::size_t& unknown) {
  std::size_t mixed = 0;
  for (std::size_t i = 0; i < codes.size(); ++i) {
    const auto four = std::to_integer<unsigned>(codes[i]);
    const unsigned high = four >> 1 & 0x55;
    const unsigned both = high & four;
    if (both != 0) {
      unknown = 4 * i + static_cast<std::size_t>(std::countr_zero(both)) / 2;
      return 0;
    }
    mixed += static_cast<std::size_t>(std::popcount(high));
  }
  return mixed;
}

}  // namespace

std::size_t brickCodeBytes(const McVec3i& tileDimensions) {
  return BrickGrid(tileDimensions).count() / 4;
}

std::size_t maxPackedBytes(const McVec3i& tileDimensions) {
  return brickCodeBytes(tileDimensions) + brickBytes * BrickGrid(tileDimensions).count();
}

std::size_t packBricks(std::span<const std::byte> raw, const McVec3i& tileDimensions, std::span<std::byte> out) {
  const BrickGrid grid(tileDimensions);
  Packer packer(raw, grid, out);
  // Rows have 4 bytes, or a multiple of 8.
  const std::byte* end = grid.rowBytes % 8 == 0 ? packer.run<std::uint64_t>() : packer.run<std::uint32_t>();
  return static_cast<std::size_t>(end - out.data());
}

std::string unpackBricks(std::span<const std::byte> packed, const McVec3i& tileDimensions, std::span<std::byte> out) {
  const BrickGrid grid(tileDimensions);
  const std::size_t codeBytes = grid.count() / 4;
  if (packed.size() < codeBytes) {
    return "holds " + std::to_string(packed.size()) + " bytes, less than the " + std::to_string(codeBytes) +
           " of the brick codes";
  }
  std::size_t unknown = grid.count();
  const std::size_t mixed = countMixed(packed.first(codeBytes), unknown);
  if (unknown < grid.count()) {
    return "brick " + std::to_string(unknown) + ": code " + std::to_string(unknownCode) + " is not known";
  }
  if (packed.size() != codeBytes + brickBytes * mixed) {
    return "holds " + std::to_string(packed.size()) + " bytes instead of " +
           std::to_string(codeBytes + brickBytes * mixed) + " for " + std::to_string(mixed) + " mixed bricks";
  }
  Unpacker unpacker(packed.data(), packed.data() + codeBytes, grid, out.data());
  return grid.rowBytes % 8 == 0 ? unpacker.run<std::uint64_t>() : unpacker.run<std::uint32_t>();
}

}  // namespace hxvoxora::detail
