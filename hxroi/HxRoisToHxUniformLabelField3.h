#pragma once

#include <QString>
#include <tcl.h>

#include "hxroi/export.h"
#include "quarn/base/McTypedClass.h"
#include "quarn/kernel/objects/HxCompModule.h"
#include "quarn/kernel/ports/HxConnection.h"
#include "quarn/kernel/ports/HxPortDoIt.h"

/// Module that turns the masks a selector shows into one label field on the grid of their set: label k for mask k,
/// counted from 1 in the order of the selector, and 255, "Overlap", for voxels of several masks. Materials have the
/// names and colours of the material records of the set; a mask without record has a label, but no material.
///
/// The field is result 0 and lies where the set does; a field that is there already is filled again.
class HXROI_API HxRoisToHxUniformLabelField3 : public HxCompModule {
public:
  MC_CLASS_DECL(HxRoisToHxUniformLabelField3)

  HxRoisToHxUniformLabelField3();

  void update() override {}

  /// Works when "doIt" was hit and the selector has a set; else a message tells what is missing. The set is that of
  /// the selector, whatever is connected to "data". Throws McException, with the former result as it was, for a set
  /// without masks, when a mask cannot be read, without memory, and when the user interrupts; and once with the failure
  /// of a conversion that is done for it.
  void compute() override;

  /// `script` makes the result again; true when the result is unchanged since it was made.
  bool canCreateData(HxData* data, QString& script) override;

  /// Throws McException, too, for a command that has the module work without its selector or set.
  int parse(Tcl_Interp* interp, int argc, char** argv) override;

  HxConnection portMaskSelector;
  HxPortDoIt portDoIt;

protected:
  ~HxRoisToHxUniformLabelField3() override;

private:
  void miss(const QString& what);

  bool isParsing_ = false;
  QString missed_;  ///< what a command that is being run found missing
};
