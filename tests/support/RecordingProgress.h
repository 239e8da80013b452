#pragma once

#include <string>
#include <vector>

#include "quarn/base/McProgressInterface.h"
#include "quarn/kernel/app/HxApplication.h"

/// Notes every call.
class RecordingProgress : public McProgressInterface {
public:
  void start(const std::string& text) override { calls.push_back("start " + text); }
  bool isInterrupted() override { return interruptAfter-- == 0; }
  void setValue(float value) override { values.push_back(value); }
  void setText(const std::string& text) override { calls.push_back("text " + text); }
  void stop() override { calls.push_back("stop"); }
  void setStepCount(int count) override { calls.push_back("steps " + std::to_string(count)); }
  void startStep(const std::string& text) override { calls.push_back("step " + text); }
  void endStep() override { calls.push_back("end"); }
  void endSteps() override { calls.push_back("done"); }

  /// How many questions are answered with no before one is answered with yes.
  int interruptAfter = -1;
  std::vector<std::string> calls;
  std::vector<float> values;
};

/// Stands in for the progress of the application while it lives.
class ProgressScope {
public:
  explicit ProgressScope(McProgressInterface& progress) : former_(HxApplication::setProgress(&progress)) {}
  ~ProgressScope() { HxApplication::setProgress(former_); }

private:
  McProgressInterface* former_;
};
