#pragma once

#include <string>

#include "quarn/base/export.h"

/// Shows how far a long operation is, and asks the user whether to go on. Texts are UTF-8.
///
/// Plain use: start(), any number of setValue(), setText() and isInterrupted(), stop(). An operation that is a sequence
/// of others announces their number with setStepCount(), puts each between startStep() and endStep(), and closes with
/// endSteps(); inside a step, setValue() counts within that step.
///
/// All members are called from the user-interface thread. Functions that take a pointer to it accept null as "no
/// progress".
class QUARN_BASE_API McProgressInterface {
public:
  virtual ~McProgressInterface();

  virtual void start(const std::string& text) = 0;
  /// True once the user wants the operation to end. May process events.
  virtual bool isInterrupted() = 0;
  /// The part that is done, in [0, 1].
  virtual void setValue(float value) = 0;
  /// A new text, without starting again.
  virtual void setText(const std::string& text) = 0;
  virtual void stop() = 0;

  virtual void setStepCount(int count) = 0;
  virtual void startStep(const std::string& text) = 0;
  virtual void endStep() = 0;
  virtual void endSteps() = 0;
};
