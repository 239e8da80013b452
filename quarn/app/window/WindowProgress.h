#pragma once

#include <QElapsedTimer>
#include <QProgressDialog>
#include <memory>

#include "quarn/kernel/app/HxProgress.h"

namespace quarn::app {

/// The progress display of a run with a window: a box with a bar and a button "Cancel", for work that takes longer than
/// a moment. While it stands, everything else takes no input. For the user-interface thread.
class WindowProgress : public HxProgress {
public:
  explicit WindowProgress(QWidget* parent);
  ~WindowProgress() override;

  void start(const std::string& text) override;
  bool isInterrupted() override;
  void setValue(float value) override;
  void setText(const std::string& text) override;
  void stop() override;
  void startStep(const std::string& text) override;
  void endStep() override;

  /// The box; null while none stands.
  QProgressDialog* box() const { return box_.get(); }

private:
  void refresh();
  void showBox();

  QWidget* const parent_;
  std::unique_ptr<QProgressDialog> box_;
  QString text_;
  QElapsedTimer running_;
  QElapsedTimer sinceEvents_;
};

}  // namespace quarn::app
