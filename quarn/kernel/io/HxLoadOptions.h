#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <utility>
#include <vector>

#include "quarn/kernel/export.h"

/// What the user said about a file to be loaded, beyond its name.
struct QUARN_KERNEL_API HxLoadOptions {
  QString name;                             ///< name for the object; empty: made from the file name
  QString labels;                           ///< file with label names, perhaps with colours; empty: none
  QString colors;                           ///< file with label colours; empty: those of `labels`
  QString kind;                             ///< "", "scalar" or "label"
  std::vector<std::pair<int, int>> values;  ///< label values wanted, as inclusive ranges; empty: all

  /// True when `values` admits `value`.
  bool admits(int value) const;

  /// Reads the words "-as NAME", "-labels FILE", "-colors FILE", "-kind scalar|label" and "-values RANGES" of a
  /// command. Throws McException naming the option and what is wrong with it; files with labels and colours must be
  /// there.
  static HxLoadOptions fromWords(const QStringList& words);
  /// Words that fromWords() reads; the name is not among them.
  QStringList toWords() const;

  /// Reads ranges such as "1-90,95,-3--1". Throws McException naming the bad part.
  static std::vector<std::pair<int, int>> parseRanges(const QString& text);
};
