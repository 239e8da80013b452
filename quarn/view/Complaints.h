#pragma once

#include <QString>
#include <set>

#include "quarn/view/export.h"

namespace quarn::view {

/// Tells the user of each thing that goes wrong once, not with every picture. For the user-interface thread.
class QUARN_VIEW_API Complaints {
public:
  /// A warning, unless the same text was told since the last forget().
  void tell(const QString& text);
  void forget() { told_.clear(); }

private:
  std::set<QString> told_;
};

}  // namespace quarn::view
