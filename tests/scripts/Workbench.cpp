#include "Workbench.h"

#include <gtest/gtest.h>

#include "quarn/formats/registerFormats.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxPreferences.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/packages/HxPackageLoader.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "testCommands.h"

Workbench::Workbench() {
  HxApplication::setUnattended(true);
  HxApplication::instance()->settings()->getPreferences()->setTemporaryDirectory(folder_.path());
  HxPackageLoader::instance().addPath(QUARN_PACKAGES);
  for (const QString& problem : HxPackageLoader::instance().loadAll()) ADD_FAILURE() << problem.toStdString();
  static const bool once = (quarn::formats::registerFormats(), addTestCommands(), true);
  (void)once;
  HxInterpreter::instance().evaluate("set folder {" + folder_.path() + "}");
}

Workbench::~Workbench() {
  HxObjectPool::instance().clear();
}
