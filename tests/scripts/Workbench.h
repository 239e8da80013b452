#pragma once

#include <QTemporaryDir>

/// The program as its user has it, for one test: packages, image files, the commands of tests, no objects, and a folder
/// of its own, which scripts find in $folder.
class Workbench {
public:
  Workbench();
  ~Workbench();
  Workbench(const Workbench&) = delete;
  Workbench& operator=(const Workbench&) = delete;

private:
  QTemporaryDir folder_;
};
