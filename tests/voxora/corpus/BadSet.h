#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/voxora/files/temporary_folder.h"
#include "tests/voxora/files/volume_files.h"

/// A small sound set on the disk, the tools to spoil it, and files outside its folder that nobody may touch. The bytes
/// are the same in every run:
///
///     set/a.ldm a.dat a.fcp      the sample of volume_files.h, not compressed; generation 7d0c93a1b2f4e865
///     set/b.ldm b.dat b.fcp      another one; generation 1111111111111111
///     canary                     a text
///     other/x.dat                the data file of a
class BadSet {
public:
  using Bytes = volumefiles::Bytes;

  BadSet();

  /// The folder of the set.
  std::string folder() const { return root_.path() + "/set"; }
  std::string headerPath() const { return folder() + "/a.ldm"; }
  std::string canary() const { return root_.path() + "/canary"; }
  std::string otherData() const { return root_.path() + "/other/x.dat"; }

  std::string header() const;
  void setHeader(const std::string& text);
  void replaceInHeader(const std::string& from, const std::string& to);
  /// Replaces the text of an element.
  void setElement(const std::string& name, const std::string& value);
  /// Puts text before the end tag of the root.
  void append(const std::string& text);

  void editIndex(const std::function<void(Bytes&)>& edit, bool signAnew = true);
  void editData(const std::function<void(Bytes&)>& edit);

  /// Cuts a file of the set's folder, or lengthens it by zeros that take no room.
  void resize(const std::string& name, std::uint64_t bytes);
  void remove(const std::string& name);
  void replaceByFolder(const std::string& name);
  void replaceByPipe(const std::string& name);
  void replaceByLink(const std::string& name, const std::string& target);

  /// Puts a volume of one tile in the place of "a", stored as `bytes` with the length and checksum that belong to them.
  void storeTile(McVec3i dimensions, McVec3i tileDimensions, const Bytes& bytes, hxvoxora::TileForm form);

private:
  Bytes read(const std::string& name) const;
  void write(const std::string& name, const Bytes& bytes);
  void writeSet(const std::string& stem, const hxvoxora::VolumeHeader& header, const volumefiles::Tiles& tiles,
                std::uint64_t generation);

  TemporaryFolder root_;
};

/// A way to spoil a set, and what must come of it.
struct BadCase {
  std::string name;
  std::function<void(BadSet&)> spoil;
  std::string message;           ///< the whole text of the refusal, without the folder; empty when the set is sound
  bool onlyTilesAreBad = false;  ///< the set opens, a tile is refused
};

inline void PrintTo(const BadCase& badCase, std::ostream* out) {
  *out << badCase.name;
}

const std::vector<BadCase>& badHeaders();
const std::vector<BadCase>& badIndexes();
const std::vector<BadCase>& badData();
