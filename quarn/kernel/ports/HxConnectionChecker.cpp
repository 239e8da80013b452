#include "quarn/kernel/ports/HxConnectionChecker.h"

HxConnectionChecker::~HxConnectionChecker() = default;

QString HxConnectionChecker::reason(const HxObject* /*source*/) const {
  return {};
}
