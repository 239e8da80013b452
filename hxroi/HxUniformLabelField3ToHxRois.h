#pragma once

#include <QString>

#include "hxroi/export.h"
#include "quarn/base/McTypedClass.h"
#include "quarn/kernel/objects/HxCompModule.h"
#include "quarn/kernel/ports/HxPortDoIt.h"

/// Module that turns a label field into a ROI set: one mask for each label but 0, named and coloured after the field's
/// materials. The set is result 0; a set that is there already is emptied and filled again. The
/// set lies where the field does: its "data" is connected to the field, unless another field was chosen that is no
/// label field.
class HXROI_API HxUniformLabelField3ToHxRois : public HxCompModule {
public:
  MC_CLASS_DECL(HxUniformLabelField3ToHxRois)

  HxUniformLabelField3ToHxRois();

  void update() override {}

  /// Converts when "doIt" was hit and a label field is connected.
  ///
  /// When a mask cannot be filled or the set refuses it (a second one of the same name, or more than a set can hold)
  /// the masks inserted so far are kept in the result, and an McException leaves that gives the reason and names the
  /// labels left out. A conversion that inserts nothing, or that the user interrupts, leaves the result as it was.
  void compute() override;

  /// `script` makes the result again; true when the result is unchanged since it was made.
  bool canCreateData(HxData* data, QString& script) override;

  HxPortDoIt portDoIt;

protected:
  ~HxUniformLabelField3ToHxRois() override;
};
