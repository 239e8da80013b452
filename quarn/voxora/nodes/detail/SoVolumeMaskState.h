#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "quarn/voxora/nodes/detail/LevelTables.h"
#include "quarn/voxora/readers/SoLDMReader.h"
#include "quarn/voxora/tiles/detail/AtomicRef.h"
#include "quarn/voxora/tiles/detail/TileTable.h"
#include "quarn/voxora/tiles/detail/TileTableEditor.h"

/// What a mask node is made of. Readers touch `content` only.
struct SoVolumeMask::State {
  /// Edits that nobody else can see yet.
  struct Transaction {
    int id;
    hxvoxora::detail::TileTableEditor table;
    bool edited = false;
  };

  explicit State(hxvoxora::FileSystem& files);

  hxvoxora::Ref<const hxvoxora::detail::TileTable> table() const { return content.load(); }

  /// The open transaction; McException when there is none.
  Transaction& openTransaction();

  /// The open transaction when it has this number, else McException.
  Transaction& openTransaction(int id);

  /// Runs one edit of the open transaction on its table. When that throws, the transaction is as before.
  template <typename Edit>
  void edit(Edit change) {
    Transaction& open = openTransaction();
    hxvoxora::detail::TileTableEditor changed(*open.table.publish());
    change(changed);
    open.table = std::move(changed);
    open.edited = true;
  }

  /// Dilates or erodes the content of the open transaction; false when `progress` gave up.
  bool grow(std::uint64_t iterations, bool isErosion, const hxvoxora::WorkCallback& progress);

  /// Starts anew with this content: no transaction, no unsaved edits.
  void reset(hxvoxora::Ref<const hxvoxora::detail::TileTable> table, const std::string& path,
             hxvoxora::Ref<SoLDMReader> newReader);

  /// The same with the levels that the file `path` holds, level 0 first.
  void reset(std::vector<hxvoxora::Ref<const hxvoxora::detail::TileTable>> tables, const std::string& path,
             hxvoxora::Ref<SoLDMReader> newReader);

  hxvoxora::FileSystem& fileSystem;
  hxvoxora::detail::AtomicRef<const hxvoxora::detail::TileTable> content;
  hxvoxora::detail::LevelTables levels;
  int levelsInFile = 0;
  std::atomic<bool> unsavedEdits = false;
  std::optional<Transaction> transaction;
  int lastTransactionId = 0;
  std::string fileName;
  std::string fileError;
  hxvoxora::Ref<SoLDMReader> reader;
};
