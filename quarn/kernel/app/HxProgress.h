#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

#include "quarn/base/McProgressInterface.h"
#include "quarn/kernel/export.h"

/// The progress display of a run without a window: a bar on a terminal, nothing in a pipe.
///
/// start() and stop() nest, and so do sequences of steps: setValue() and a sequence inside a step count within that
/// step. The bar is redrawn at most ten times a second. isInterrupted() is the user's Ctrl-C. Any thread may call.
class QUARN_KERNEL_API HxProgress : public McProgressInterface {
public:
  /// Draws on standard error when that is a terminal.
  HxProgress();
  /// Draws on `descriptor` when `draws` is set.
  HxProgress(int descriptor, bool draws);
  ~HxProgress() override;

  void start(const std::string& text) override;
  bool isInterrupted() override;
  void setValue(float value) override;
  void setText(const std::string& text) override;
  void stop() override;
  void setStepCount(int count) override;
  void startStep(const std::string& text) override;
  void endStep() override;
  void endSteps() override;

  /// What is done of the whole, in [0, 1].
  float overall() const;
  bool isRunning() const;

  /// Takes a drawn bar off its terminal, before somebody else writes a line there; the next change draws it again.
  static void eraseShown();

private:
  /// A sequence of steps.
  struct Sequence {
    int count = 1;
    int done = 0;
  };

  float overallLocked() const;
  void showLocked(const std::string* text, float value);
  void drawLocked();
  void eraseLocked();

  mutable std::mutex mutex_;
  const int descriptor_;
  const bool draws_;
  int running_ = 0;                  ///< start() calls not stopped yet
  std::vector<Sequence> sequences_;  ///< open sequences, the outermost first
  float value_ = 0.0f;               ///< within the innermost step
  std::string text_;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point lastDraw_;
};
