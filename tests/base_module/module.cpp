#include <string>

#include "quarn/base/McException.h"
#include "quarn/base/McInterfaceOwner.h"
#include "quarn/base/McTypedClass.h"
#include "tests/base_module/Beacon.h"

class GreenBeacon : public Beacon {
public:
  using Beacon::Beacon;
  std::string color() const override { return "green"; }
};

class ModuleBeacon : public McInterfaceOwner {
public:
  MC_CLASS_DECL(ModuleBeacon)
  ModuleBeacon() { new GreenBeacon(this, 1); }
};
MC_CLASS_IMPL(ModuleBeacon, McInterfaceOwner)

extern "C" __attribute__((visibility("default"))) void throwFromModule() {
  throw McException("thrown by the module");
}
