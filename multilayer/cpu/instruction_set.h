// Which instruction set the kernels use. A kernel is a source of plain loops, `*_kernel.cpp`, that
// is compiled once for each set; its entry is a function template over the set, of which each
// compilation defines one specialisation. The caller asks the processor and takes the one that fits:
//
//   const auto solve = ForInstructionSet(ChooseInstructionSet(), []<InstructionSet kSet> {
//     return &SolveNorm<kSet>;
//   });
//
// A kernel source uses raw pointers and builtins only. An inline function or a template of a header
// that it instantiated for its processor could become the copy that the linker keeps for all.
#pragma once

namespace multilayer {

enum class InstructionSet {
  kBase,    // what the compiler takes by default
  kAvx2,    // AVX2 and FMA
  kAvx512,  // AVX-512 F, BW, DQ and VL, in full width
};

constexpr InstructionSet kInstructionSets[] = {InstructionSet::kBase, InstructionSet::kAvx2,
                                               InstructionSet::kAvx512};

// "base", "avx2" or "avx512".
const char* NameOf(InstructionSet set);

// Whether the kernels were compiled for it and the processor and the operating system carry it.
bool IsAvailable(InstructionSet set);

// The best that is available, or the one that the environment variable MULTILAYER_INSTRUCTION_SET
// names. A name that is unknown or not available here is told as an error and passed over.
InstructionSet ChooseInstructionSet();

// What `function`, a generic lambda over a set, returns for `set`.
template <class Function>
auto ForInstructionSet(InstructionSet set, Function function) {
#if defined(MULTILAYER_X86_KERNELS)
  switch (set) {
    case InstructionSet::kAvx512:
      return function.template operator()<InstructionSet::kAvx512>();
    case InstructionSet::kAvx2:
      return function.template operator()<InstructionSet::kAvx2>();
    case InstructionSet::kBase:
      break;
  }
#endif
  static_cast<void>(set);
  return function.template operator()<InstructionSet::kBase>();
}

}  // namespace multilayer
