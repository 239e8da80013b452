#include "quarn/kernel/params/HxParamBase.h"

HxParamBase::~HxParamBase() = default;

bool HxParamBase::setName(std::string_view name) {
  if (getFlag(NameLocked)) return false;
  name_ = normalizedName(name);
  return true;
}

std::string HxParamBase::normalizedName(std::string_view name) {
  const auto isPlain = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
  };
  std::string normalized(name);
  for (char& c : normalized) {
    if (!isPlain(c)) c = '_';
  }
  return normalized;
}
