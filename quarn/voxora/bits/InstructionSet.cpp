#include "quarn/voxora/bits/InstructionSet.h"

#include <string>

#include "quarn/base/McException.h"
#include "quarn/voxora/bits/detail/KernelTable.h"

namespace hxvoxora {

namespace {

bool cpuHas(InstructionSet set) {
#if defined(__x86_64__)
  __builtin_cpu_init();
  switch (set) {
    case InstructionSet::Scalar:
      return true;
    case InstructionSet::Avx2:
      return __builtin_cpu_supports("avx2");
    case InstructionSet::Avx512:
      return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("avx512f") &&
             __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
             __builtin_cpu_supports("avx512vpopcntdq");
  }
#endif
  return set == InstructionSet::Scalar;
}

/// Null when the processor lacks the set.
const detail::KernelTable* kernelsOf(InstructionSet set) {
  if (!cpuHas(set)) return nullptr;
  switch (set) {
    case InstructionSet::Avx2:
      return detail::avx2Kernels();
    case InstructionSet::Avx512:
      return detail::avx512Kernels();
    default:
      return &detail::scalarKernels;
  }
}

const detail::KernelTable* bestKernels() {
  for (const InstructionSet set : {InstructionSet::Avx512, InstructionSet::Avx2})
    if (const detail::KernelTable* kernels = kernelsOf(set)) return kernels;
  return &detail::scalarKernels;
}

}  // namespace

// The scalar table serves until this library's own initialisation, whatever comes before.
constinit std::atomic<const detail::KernelTable*> detail::activeKernels = &detail::scalarKernels;

namespace {

[[maybe_unused]] const bool bestAreActive = [] {
  detail::activeKernels.store(bestKernels(), std::memory_order_relaxed);
  return true;
}();

}  // namespace

const char* nameOf(InstructionSet set) {
  switch (set) {
    case InstructionSet::Avx2:
      return "avx2";
    case InstructionSet::Avx512:
      return "avx512";
    default:
      return "scalar";
  }
}

bool isAvailable(InstructionSet set) {
  return kernelsOf(set) != nullptr;
}

InstructionSet instructionSet() {
  return detail::kernels().instructionSet;
}

void setInstructionSet(InstructionSet set) {
  const detail::KernelTable* kernels = kernelsOf(set);
  if (!kernels) throw McException("The processor lacks the instruction set \"" + std::string(nameOf(set)) + "\".");
  detail::activeKernels.store(kernels, std::memory_order_relaxed);
}

}  // namespace hxvoxora
