#pragma once

#include <QString>

namespace quarn::formats::detail {

/// Shows "Reading <name>" or "Writing <name>" in the progress display of the application while it lives. User-interface
/// thread only.
class ImageProgress {
public:
  enum class Task { Reading, Writing };

  ImageProgress(Task task, const QString& file);
  ~ImageProgress();
  ImageProgress(const ImageProgress&) = delete;
  ImageProgress& operator=(const ImageProgress&) = delete;

  /// Shows the fraction done, in [0, 1]. May process events.
  ///
  /// @throws McException, naming the file, once the user wants to stop.
  void advance(float fraction) const;

private:
  Task task_;
  QString file_;
};

}  // namespace quarn::formats::detail
