#pragma once

#include "quarn/voxora/export.h"

/// Which instructions the passes over long stretches of bits use. The best ones that the processor has are chosen when
/// the library is loaded; tests and benchmarks choose others. Results never depend on the choice.
namespace hxvoxora {

enum class InstructionSet {
  Scalar,  ///< 64 bits at a time
  Avx2,    ///< 256 bits
  Avx512,  ///< 512 bits, with vector population count
};

/// "scalar", "avx2" or "avx512".
QUARN_VOXORA_API const char* nameOf(InstructionSet set);

/// Whether processor and system have what a set needs. Scalar is always there.
QUARN_VOXORA_API bool isAvailable(InstructionSet set);

/// The set in use.
QUARN_VOXORA_API InstructionSet instructionSet();

/// Chooses the set for all threads; passes that run at this moment end as they began. Throws McException when the
/// processor lacks the set.
QUARN_VOXORA_API void setInstructionSet(InstructionSet set);

}  // namespace hxvoxora
