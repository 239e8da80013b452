#pragma once

#include <QString>

#include "quarn/kernel/params/HxParamBundle.h"

namespace quarn::detail {

/// A copy of a bundle that is edited, and then written back as far as it was. Edits answer with the reason why they are
/// refused, for the user; an empty one when they are done. Elements are those of root() and of its bundles.
class ParamDraft {
public:
  ParamDraft() = default;
  explicit ParamDraft(const HxParamBundle& bundle) : written_(bundle), draft_(bundle) {}

  HxParamBundle& root() { return draft_; }

  /// Takes what the user typed; a parameter so edited has no longer several values.
  QString setValue(HxParameter& parameter, const QString& text);
  /// Reads the value as one of another type.
  QString setType(HxParameter& parameter, HxParameter::Type type);
  QString rename(HxParamBundle& parent, HxParamBase& element, const QString& name);
  QString remove(HxParamBundle& parent, HxParamBase& element);
  /// New elements get a free name.
  HxParamBase* addParameter(HxParamBundle& parent);
  HxParamBase* addBundle(HxParamBundle& parent);

  /// Gives `bundle` what was edited since the draft was made or written; all else in it stays.
  void writeTo(HxParamBundle& bundle);

private:
  HxParamBundle written_;  ///< as it was made or written last
  HxParamBundle draft_;
};

}  // namespace quarn::detail
