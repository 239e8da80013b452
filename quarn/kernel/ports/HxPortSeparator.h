#pragma once

#include "quarn/kernel/export.h"
#include "quarn/kernel/ports/HxPort.h"

/// A heading between ports.
class QUARN_KERNEL_API HxPortSeparator : public HxPort {
public:
  MC_CLASS_DECL(HxPortSeparator)

  HxPortSeparator(HxObject* owner, const QString& name, const QString& label = QString());
  ~HxPortSeparator() override;

  /// The label as a heading before a line.
  void createWidget(QWidget* parent) override;
};
