#pragma once

#include <QString>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "quarn/voxora/files/InputFile.h"

struct tiff;

namespace quarn::formats::detail {

/// A TIFF file and one of its pages, the first at the beginning. What the library says about failures is part of our
/// messages; it prints nothing. One thread.
class TiffFile {
public:
  /// @throws McException, naming the file, when it is missing, no regular file, not readable, or no TIFF file.
  explicit TiffFile(const QString& file);
  ~TiffFile();
  TiffFile(const TiffFile&) = delete;
  TiffFile& operator=(const TiffFile&) = delete;

  /// For the functions of the library.
  tiff* get() const { return tiff_; }

  /// Calls `visit` for each page that is an image of its own, and no smaller copy of one or a mask, in their order.
  ///
  /// @throws McException, naming file and page, when the list of pages is damaged, and what `visit` throws.
  void forEachPage(const std::function<void()>& visit);

  /// A field of the current page; `otherwise` when it is missing.
  std::uint32_t longField(std::uint32_t tag, std::uint32_t otherwise) const;
  std::uint16_t shortField(std::uint32_t tag, std::uint16_t otherwise) const;
  float floatField(std::uint32_t tag, float otherwise) const;
  std::string textField(std::uint32_t tag) const;

  std::int64_t fileBytes() const;

  /// @throws McException "<file>: <what>".
  [[noreturn]] void refuseFile(const QString& what) const;
  /// @throws McException "<file>: page <n> <what>", with the last words of the library when `withReason`.
  [[noreturn]] void refusePage(const QString& what, bool withReason = false) const;

private:
  struct Source;

  void open();
  void requireWholeDirectory() const;

  QString file_;
  std::unique_ptr<Source> source_;
  tiff* tiff_ = nullptr;
  int page_ = 1;  ///< number of the current one among all, from 1
};

}  // namespace quarn::formats::detail
