#pragma once

#include <QByteArray>
#include <QString>
#include <memory>

#include "quarn/kernel/export.h"
#include "quarn/kernel/params/HxParamBundle.h"

/// A parameter file: nested bundles of typed parameters, no arrays. docs/format/quarnmesh.md describes the text.
///
/// What is written reads back equal: nesting, order, names, texts with any character, integers, reals (bit for bit) and
/// their types. Reading evaluates nothing.
class QUARN_KERNEL_API QuarnMesh {
public:
  /// The format code of write(): text.
  static constexpr int TEXT = 100;
  /// Bounds of what is read.
  static constexpr qint64 MAX_BYTES = 64 << 20;
  static constexpr int MAX_DEPTH = 64;

  QuarnMesh() = default;

  /// The content.
  HxParamBundle parameters;

  /// Writes the file: beside its place first, then checked, synced and renamed. `format` must be TEXT, `extra` null;
  /// the two flags choose the header line's flavour and nothing else. 1 on success; 0 on failure, with the reason on
  /// the console and the old file untouched.
  int write(const char* filename, int format, const void* extra, bool flagA, bool flagB) const;

  /// The text of the file.
  QByteArray toText(bool flagA, bool flagB) const;

  /// Reads a file. Throws McException naming file, line, field and value.
  static std::unique_ptr<QuarnMesh> read(const QString& filename);

  /// The file that read() took the content from, named as it was then; empty for content from elsewhere.
  const QString& sourceFile() const { return sourceFile_; }

  /// The content of the source file when that is no longer what read() found; null when nothing changed, when the file
  /// is gone, and without a source file. Throws McException as read().
  std::unique_ptr<QuarnMesh> readAgainIfChanged() const;

  /// Reads the text of a file; `name` stands for the file in error texts.
  static std::unique_ptr<QuarnMesh> parse(const QByteArray& text, const QString& name);

private:
  static std::unique_ptr<QuarnMesh> parseSource(const QByteArray& text, const QString& filename);

  QString sourceFile_;
  QByteArray sourceDigest_;  ///< of all bytes of the source file
};
