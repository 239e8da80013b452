#include "hxroi/internal/SeveralParameters.h"

#include <memory>

#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/kernel/params/HxParameter.h"

namespace hxroi {

namespace {

constexpr int kSeveral = HxParamBase::Bold | HxParamBase::Italic;
constexpr const char* kId = "Id";

void addPlain(HxParamBundle& copy, const HxParameter& parameter) {
  HxParameter* present = copy.find(parameter.name());
  if (!present) {
    copy.insert(parameter.clone())->setFontStyleFlag(kSeveral, false);
  } else if (!present->getFontStyleFlag(kSeveral) && present->print() != parameter.print()) {
    present->setFontStyleFlag(kSeveral, true);
  }
}

void addMember(HxParamBundle& copy, const HxParamBase& member) {
  if (member.getFlag(HxParamBase::Internal)) return;
  if (member.isBundle()) {
    addToCopy(*copy.getBundle(member.name()), member);
  } else {
    addPlain(copy, static_cast<const HxParameter&>(member));
  }
}

/// Parameters move up while the index goes on, so every other one stays.
void removeEveryOther(HxParamBundle& parameters) {
  for (int i = 0; i < parameters.size(); ++i) parameters.remove(i);
}

/// `id` back to the front, where it stood.
void restoreId(HxParamBundle& parameters, std::unique_ptr<HxParamBase> id) {
  const HxParamBundle others(parameters);
  parameters.removeAll();
  parameters.insert(std::move(id));
  for (int i = 0; i < others.size(); ++i) {
    if (others[i]->name() != kId) parameters.insert(others[i]->clone());
  }
}

}  // namespace

void addToCopy(HxParamBundle& copy, const HxParamBase& parameter) {
  if (!parameter.isBundle()) {
    copy.insert(parameter.clone());
    return;
  }
  const auto& bundle = static_cast<const HxParamBundle&>(parameter);
  for (int i = 0; i < bundle.size(); ++i) addMember(copy, *bundle[i]);
}

void markSeveral(HxParamBase& parameter, bool on) {
  if (!parameter.isBundle()) {
    parameter.setFontStyleFlag(kSeveral, on);
    return;
  }
  const auto& bundle = static_cast<const HxParamBundle&>(parameter);
  for (int i = 0; i < bundle.size(); ++i) markSeveral(*bundle[i], on);
}

void writeSeveral(HxParamBundle& parameters, const HxParamBundle& copy) {
  if (&parameters == &copy) return;
  const HxParamBase* id = parameters.findBase(kId);
  std::unique_ptr<HxParamBase> kept = id ? id->clone() : nullptr;
  removeEveryOther(parameters);
  parameters.copy(copy);
  markSeveral(parameters, false);
  if (kept) restoreId(parameters, std::move(kept));
}

}  // namespace hxroi
