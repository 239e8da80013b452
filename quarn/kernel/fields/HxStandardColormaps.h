#pragma once

#include <QString>
#include <QStringList>
#include <vector>

#include "quarn/base/McHandle.h"
#include "quarn/kernel/export.h"
#include "quarn/kernel/fields/HxColormap.h"

/// The colormaps that everybody can use without loading a file, in a fixed order: "grey", the perceptually even
/// "viridis", "magma" and "cividis", the rainbow "turbo", and the diverging "coolwarm". Each is one object with 256
/// colours, made when it is first asked for and kept; they are not in the pool. For the user-interface thread.
class QUARN_KERNEL_API HxStandardColormaps {
public:
  static HxStandardColormaps& instance();

  const QStringList& names() const { return names_; }

  /// Null for other names.
  HxColormap* find(const QString& name);
  /// Whether an object is one of these; its label is the name then.
  bool isStandard(const HxObject* object) const;

private:
  HxStandardColormaps();

  QStringList names_;
  std::vector<McHandle<HxColormap>> colormaps_;
};
