#pragma once

#include <QString>
#include <functional>
#include <vector>

#include "quarn/kernel/export.h"
#include "quarn/kernel/ports/HxPort.h"

/// Objects that an object works with though it is not connected to them, each with a text of settings: what a view
/// shows. Hidden. Networks write them behind all objects, under the names that these have there.
class QUARN_KERNEL_API HxPortObjects : public HxPort {
public:
  MC_CLASS_DECL(HxPortObjects)

  struct Entry {
    HxObject* object;
    QString settings;
  };

  /// What the owner does for the port.
  struct Face {
    std::function<std::vector<Entry>()> entries;
    /// Takes an object in, or gives one that is there already other settings. Throws McException for an object or
    /// settings that do not do.
    std::function<void(HxObject* object, const QString& settings)> add;
    /// The state beside the objects; see HxPort.
    std::function<QString()> state;
    std::function<bool(const QString& state)> setState;
  };

  HxPortObjects(HxObject* owner, const QString& name, const QString& label, Face face);
  ~HxPortObjects() override;

  std::vector<Entry> entries() const { return face_.entries(); }

  void getState(QString& state) const override { state = face_.state(); }
  bool setState(const QString& state) override { return face_.setState(state); }
  /// Commands: add OBJECT SETTINGS.
  int parse(Tcl_Interp* interp, int argc, char** argv) override;

private:
  const Face face_;
};
