#pragma once

#include <functional>
#include <string>
#include <vector>

#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/objects/HxCompModule.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/HxInterpreter.h"

/// Steps in the order in which they happened.
using Log = std::vector<std::string>;

/// A data object that writes down its evaluation and does what a test wants it to.
class TestData : public HxData {
public:
  explicit TestData(Log& log, const QString& label = "data")
      : input(this, "input", "Input", HxData::getClassTypeId()), log_(log) {
    setLabel(label);
  }

  void update() override { step("update", onUpdate); }
  void compute() override { step("compute", onCompute); }
  void setModified(unsigned int flags) override {
    modifications.push_back(flags);
    HxData::setModified(flags);
  }
  void onEditorChanged() override { ++editorChanges; }

  HxConnection input;
  std::function<void()> onUpdate;
  std::function<void()> onCompute;
  std::vector<unsigned int> modifications;
  int editorChanges = 0;

protected:
  ~TestData() override { log_.push_back(deathNote); }

public:
  std::string deathNote = "gone";

private:
  void step(const char* name, const std::function<void()>& action) {
    log_.push_back(getLabel().toStdString() + "." + name);
    if (action) action();
  }

  Log& log_;
};

/// A module of the same kind.
class TestModule : public HxCompModule {
public:
  explicit TestModule(Log& log, const QString& label = "module")
      : HxCompModule(HxData::getClassTypeId()), second(this, "second", "Second", HxData::getClassTypeId()), log_(log) {
    setLabel(label);
  }

  void update() override { step("update", onUpdate); }
  void compute() override { step("compute", onCompute); }

  HxConnection second;
  std::function<void()> onUpdate;
  std::function<void()> onCompute;

protected:
  ~TestModule() override = default;

private:
  void step(const char* name, const std::function<void()>& action) {
    log_.push_back(getLabel().toStdString() + "." + name);
    if (action) action();
  }

  Log& log_;
};

/// Runs a script; its result, or the message of its error.
inline std::string evaluate(const QString& script) {
  HxInterpreter& interpreter = HxInterpreter::instance();
  if (const auto error = interpreter.evaluate(script)) return "error: " + error->message.toStdString();
  return interpreter.result().toStdString();
}

/// Leaves the pool empty behind a test.
struct PoolCleaner {
  ~PoolCleaner() { HxObjectPool::instance().clear(); }
};
