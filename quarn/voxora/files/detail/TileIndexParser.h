#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "quarn/voxora/files/detail/ChecksummedReader.h"
#include "quarn/voxora/files/detail/TileIndex.h"

namespace hxvoxora::detail {

/// Reads and checks one tile index file; see TileIndex::read.
class TileIndexParser {
public:
  TileIndexParser(const InputFile& file, const VolumeHeader& header, std::uint64_t dataBytes)
      : file_(file), header_(header), dataBytes_(dataBytes), tileBytes_(header.storedTileBytes()), reader_(file) {}

  TileIndex parse();

private:
  [[noreturn]] void fail(const std::string& field, const std::string& value, const std::string& reason) const;
  void require(const char* field, std::uint64_t value, std::uint64_t expected) const;

  void readHead();
  std::vector<StoredTileRun> readKinds();
  StoredTileRun readRun(std::uint64_t& bytesLeft);
  std::vector<StoredTile> readStored(const std::vector<StoredTileRun>& runs);
  void readEntries(std::uint64_t firstTile, std::uint64_t count, std::vector<StoredTile>& stored);
  void checkStored(std::uint64_t tile, const StoredTile& entry) const;
  void checkLayout(const std::vector<StoredTile>& stored) const;
  void checkChecksum();

  const InputFile& file_;
  const VolumeHeader& header_;
  const std::uint64_t dataBytes_;
  const std::uint64_t tileBytes_;
  ChecksummedReader reader_;
  std::uint64_t storedCount_ = 0;
  std::uint64_t kindsBytes_ = 0;
};

}  // namespace hxvoxora::detail
