#include "quarn/kernel/script/creatableClasses.h"

#include "quarn/base/McType.h"
#include "quarn/kernel/objects/HxObject.h"

QStringList creatableClasses() {
  QStringList names;
  for (const McType& type : McType::types())
    if (type.isDerivedFrom(HxObject::getClassTypeId()) && type.canCreateInstance())
      names.append(QString::fromStdString(type.getName()));
  names.sort();
  return names;
}
