#include "Variation.h"

#include <gtest/gtest.h>

#include "hxroi/HxRois.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxPreferences.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/HxInterpreter.h"

namespace {

constexpr const char* kThreads = "MULTI_THREADED_ROIS_CREATION";
const QString kTileSize = QStringLiteral("LDA > Tile Size"), kMemory = QStringLiteral("LDA > Main Memory");

HxPreferences& preferences() {
  return *HxApplication::instance()->settings()->getPreferences();
}

/// Through its file and back; what is connected to it stays.
void reload(const QString& name, const QString& file) {
  const QString script = QStringLiteral(
                             "set source [{%1} data source]; {%1} save QuarnMesh {%2}; remove {%1};"
                             "load {%2} -as {%1}; if {$source ne {}} {{%1} data connect $source}; unset source")
                             .arg(name, file);
  const auto error = HxInterpreter::instance().evaluate(script);
  ASSERT_FALSE(error) << error->message.toStdString();
}

}  // namespace

QStringList Variation::names() {
  return {"plain", "smallTiles", "littleMemory", "reloaded", "oneThread"};
}

Variation::Variation(const QString& name)
    : reloads_(name == "reloaded"), tileSize_(preferences().get(kTileSize)), memory_(preferences().get(kMemory)) {
  if (name == "smallTiles" || name == "littleMemory") preferences().set(kTileSize, "32");
  if (name == "littleMemory") preferences().set(kMemory, "64K");
  if (name == "oneThread") qputenv(kThreads, "0");
}

Variation::~Variation() {
  preferences().set(kTileSize, tileSize_);
  preferences().set(kMemory, memory_);
  qunsetenv(kThreads);
}

void Variation::statementEnded() {
  if (!reloads_) return;
  QStringList sets;
  for (const McHandle<HxObject>& object : HxObjectPool::instance().objects())
    if (dynamic_cast<HxRois*>(object.get())) sets += object->getName();
  for (const QString& name : sets) reload(name, folder_.filePath(name + ".ROIs.qm"));
}
