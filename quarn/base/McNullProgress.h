#pragma once

#include "quarn/base/McProgressInterface.h"

/// Progress that nobody watches: shows nothing and is never interrupted. Usable from any thread.
class QUARN_BASE_API McNullProgress final : public McProgressInterface {
public:
  ~McNullProgress() override;

  void start(const std::string&) override {}
  bool isInterrupted() override { return false; }
  void setValue(float) override {}
  void setText(const std::string&) override {}
  void stop() override {}

  void setStepCount(int) override {}
  void startStep(const std::string&) override {}
  void endStep() override {}
  void endSteps() override {}
};
