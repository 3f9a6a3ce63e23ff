// For kernel sources: the instruction set that this compilation is for, and whether the compiler
// keeps to it.
#pragma once

#include "multilayer/cpu/instruction_set.h"

namespace multilayer {

// CMake names the set and gives the flags. The flags alone do not tell: a host may build all of the
// library for its own processor.
constexpr InstructionSet kKernelTarget = InstructionSet::MULTILAYER_KERNEL_TARGET;

// What the flags stand for. A base kernel may have more than it needs.
#if defined(__AVX512F__) && defined(__AVX512BW__) && defined(__AVX512DQ__) && defined(__AVX512VL__)
constexpr InstructionSet kCompiledFor = InstructionSet::kAvx512;
#elif defined(__AVX2__) && defined(__FMA__)
constexpr InstructionSet kCompiledFor = InstructionSet::kAvx2;
#else
constexpr InstructionSet kCompiledFor = InstructionSet::kBase;
#endif
static_assert(kCompiledFor >= kKernelTarget, "the compiler's flags fall short of the kernel's set");

// Before a loop of more pointers than the compiler would compare: none of those written to overlaps
// another.
#if defined(__clang__)
#define MULTILAYER_NO_OVERLAP _Pragma("clang loop vectorize(assume_safety)")
#elif defined(__GNUC__)
#define MULTILAYER_NO_OVERLAP _Pragma("GCC ivdep")
#else
#define MULTILAYER_NO_OVERLAP
#endif

#if defined(__FMA__)
constexpr bool kHasFma = true;
#else
constexpr bool kHasFma = false;
#endif

}  // namespace multilayer
