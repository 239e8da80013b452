#pragma once

#include <QString>
#include <QStringList>
#include <cstddef>

#include "quarn/kernel/export.h"

/// The preferences. They live as long as the process; every reader asks anew, so a change counts from its next
/// question.
///
/// Keys are texts as shown to the user, sections parted by " > "; case and blanks around ">" do not matter.
class QUARN_KERNEL_API HxPreferences {
public:
  /// Base directory of the temporary storage ("Temporary Directory"). Unless it was set it is quarn-UID in the
  /// system's folder for temporary files: made on the first question, with mode 0700; when a folder of that name
  /// belongs to somebody else or is a link, a fresh private one is made and used instead.
  QString getTemporaryDirectory() const;
  /// Takes any text but the empty one; whether the folder can be written shows when it is used. Throws McException.
  void setTemporaryDirectory(const QString& directory);

  /// Edge length of the tiles of new volumes, in voxels ("LDA > Tile Size"): 32, 64, 128 or 256.
  int getTileSize() const;
  /// Also tells the tiled volumes. Throws McException for any other number.
  void setTileSize(int voxels);

  /// Bytes of memory that tiles and box buffers may take together ("LDA > Main Memory"). As a text in MiB, or in other
  /// units with one of the letters K, M, G, T behind the number; a quarter of the machine's memory unless it was set.
  std::size_t getMainMemory() const;
  /// Also tells the tiled volumes. 0 stands for a quarter of the machine's memory.
  void setMainMemory(std::size_t bytes);

  /// What becomes of files of an older format that have to be converted before they can be used ("Upgrade Older
  /// Files").
  enum class OlderFiles {
    Ask,     ///< the user is asked where to put the new files; where nobody can be asked the file is refused
    Beside,  ///< the new files are put beside the old ones, under another name
    Replace  ///< the new files take the place of the old ones, which are kept under another name
  };
  /// As a text: ask, beside or replace.
  OlderFiles getOlderFiles() const { return olderFiles_; }
  void setOlderFiles(OlderFiles olderFiles) { olderFiles_ = olderFiles; }

  /// All keys, in the order of the table.
  static QStringList keys();
  /// Value of a preference as text. Throws McException for an unknown key.
  QString get(const QString& key) const;
  /// Sets a preference from a text. Throws McException for an unknown key or a refused value; nothing is changed then.
  void set(const QString& key, const QString& value);

private:
  QString temporaryDirectory_;  ///< empty: not set
  OlderFiles olderFiles_ = OlderFiles::Ask;
};
