#pragma once

#include <array>
#include <cstdint>
#include <map>

#include "quarn/kernel/export.h"
#include "quarn/kernel/fields/HxLabelLattice3.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"

/// A field of 8-bit labels. What a label means stands in the bundle "Materials" of the parameters: the material with
/// index v belongs to label v, or, in fields that were made of masks, the one with the "Id" v. The bundle is made
/// empty. Usable outside the pool and off the user-interface thread, by one thread at a time.
class QUARN_KERNEL_API HxUniformLabelField3 : public HxUniformScalarField3 {
public:
  MC_CLASS_DECL(HxUniformLabelField3)

  /// A field without voxels.
  HxUniformLabelField3() : HxUniformLabelField3(McDim3l()) {}
  /// All labels 0. Throws McException for dimensions that are negative or too large for memory.
  explicit HxUniformLabelField3(const McDim3l& dimensions);

  HxLabelLattice3& lattice() { return lattice_; }
  const HxLabelLattice3& lattice() const { return lattice_; }

  /// The bundle "Materials"; null when there is none and `create` is false.
  HxParamBundle* materials(bool create = true) { return parameters.getMaterials(create); }
  const HxParamBundle* materials() const { return parameters.getMaterials(); }

  /// The materials by their labels. Where the first of them is that of the background, as its "Id" 0 or none tells, a
  /// label is the index of its material; else it is the "Id". Valid until the materials change.
  std::map<int, const HxParamBundle*> materialsByLabel() const;

  /// Numbers of voxels of the labels 0 to 255.
  std::array<std::int64_t, 256> countLabels() const;

  int parse(Tcl_Interp* interp, int argc, char** argv) override;

protected:
  ~HxUniformLabelField3() override;

private:
  HxLabelLattice3 lattice_;
};
