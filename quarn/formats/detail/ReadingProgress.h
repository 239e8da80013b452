#pragma once

#include <QString>

namespace quarn::formats::detail {

/// Shows "Reading <name>" in the progress display of the application while it lives. User-interface thread only.
class ReadingProgress {
public:
  explicit ReadingProgress(const QString& file);
  ~ReadingProgress();
  ReadingProgress(const ReadingProgress&) = delete;
  ReadingProgress& operator=(const ReadingProgress&) = delete;

  /// Shows the fraction done, in [0, 1].
  ///
  /// @throws McException, naming the file, once the user wants to stop.
  void advance(float fraction) const;

private:
  QString file_;
};

}  // namespace quarn::formats::detail
