#pragma once

#include <QString>
#include <QStringList>
#include <string>
#include <utility>
#include <vector>

#include "quarn/kernel/export.h"

class HxObject;

/// Which interface factories run for which classes of objects. A declaration counts for derived classes, too. Factories
/// run when an object is created by name and when it enters the pool. For the user-interface thread.
class QUARN_KERNEL_API HxInterfaceFactoryRegistry {
public:
  static HxInterfaceFactoryRegistry& instance();

  /// Declares a registered factory class for a class of objects, and runs it for the objects that are in the pool.
  /// Harmless when declared already. Throws McException naming the factory when there is no such class.
  void declare(const QString& className, const QString& factoryName);
  /// Takes a declaration back; interfaces that are attached stay.
  void withdraw(const QString& className, const QString& factoryName);

  /// Runs the factories declared for the object's class and its ancestors.
  void attachInterfaces(HxObject* object) const;

  /// The classes for which factories are declared, each once.
  QStringList classNames() const;

private:
  std::vector<std::pair<std::string, std::string>> declarations_;
};
