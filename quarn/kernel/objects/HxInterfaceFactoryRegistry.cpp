#include "quarn/kernel/objects/HxInterfaceFactoryRegistry.h"

#include <algorithm>
#include <memory>

#include "quarn/kernel/HxException.h"
#include "quarn/kernel/objects/HxInterfaceFactory.h"
#include "quarn/kernel/objects/HxObjectPool.h"

HxInterfaceFactoryRegistry& HxInterfaceFactoryRegistry::instance() {
  static HxInterfaceFactoryRegistry registry;
  return registry;
}

void HxInterfaceFactoryRegistry::declare(const QString& className, const QString& factoryName) {
  const std::string factory = factoryName.toStdString();
  if (!McType::find(factory).isDerivedFrom(HxInterfaceFactory::getClassTypeId())) {
    throw McException("There is no interface factory \"" + McException::excerpt(factory) + "\".");
  }
  const auto declaration = std::make_pair(className.toStdString(), factory);
  if (std::find(declarations_.begin(), declarations_.end(), declaration) != declarations_.end()) return;
  declarations_.push_back(declaration);
  // A copy: a factory may add objects.
  const auto objects = HxObjectPool::instance().objects();
  for (const auto& object : objects) attachInterfaces(object);
}

void HxInterfaceFactoryRegistry::withdraw(const QString& className, const QString& factoryName) {
  std::erase(declarations_, std::make_pair(className.toStdString(), factoryName.toStdString()));
}

void HxInterfaceFactoryRegistry::attachInterfaces(HxObject* object) const {
  const auto declarations = declarations_;
  for (const auto& [className, factoryName] : declarations) {
    if (!object->getTypeId().isDerivedFrom(McType::find(className))) continue;
    const std::unique_ptr<HxInterfaceFactory> factory(McType::find(factoryName).createInstance<HxInterfaceFactory>());
    if (factory) factory->attachInterfaces(object);
  }
}

QStringList HxInterfaceFactoryRegistry::classNames() const {
  QStringList names;
  for (const auto& [className, factory] : declarations_) {
    const QString name = QString::fromStdString(className);
    if (!names.contains(name)) names.append(name);
  }
  return names;
}
