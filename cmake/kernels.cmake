# multilayer_add_kernels(target sources...): plain loops that the compiler vectorises, compiled into
# `target` once for every instruction set in MULTILAYER_KERNEL_TARGETS. multilayer/cpu chooses at run
# time; tests register their kernel suites for each. Another compiler or processor gets "base" alone.
include(CheckCXXCompilerFlag)
set(MULTILAYER_KERNEL_TARGETS base)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
  check_cxx_compiler_flag("-mavx512f -mprefer-vector-width=512" MULTILAYER_HAS_AVX512)
  if(MULTILAYER_HAS_AVX512)
    set(MULTILAYER_KERNEL_TARGETS base avx2 avx512)
    add_compile_definitions(MULTILAYER_X86_KERNELS)
  endif()
endif()

# As MULTILAYER_KERNEL_TARGET in multilayer/cpu/kernel_target.h.
set(kernel_set_base kBase)
set(kernel_set_avx2 kAvx2)
set(kernel_set_avx512 kAvx512)
set(kernel_flags_base "")
set(kernel_flags_avx2 -mavx2 -mfma)
# On its own the compiler takes half the width, for the sake of the first such processors.
set(kernel_flags_avx512 -mavx2 -mfma -mavx512f -mavx512bw -mavx512dq -mavx512vl
    -mprefer-vector-width=512)

function(multilayer_add_kernels target)
  foreach(set ${MULTILAYER_KERNEL_TARGETS})
    add_library(${target}_${set} OBJECT ${ARGN})
    target_compile_definitions(${target}_${set} PRIVATE
      MULTILAYER_KERNEL_TARGET=${kernel_set_${set}})
    target_include_directories(${target}_${set} PRIVATE ${PROJECT_SOURCE_DIR})
    # -fno-trapping-math: nobody looks at the exception flags, and a choice between two computed
    # values may compute both. Values are not touched.
    # -Wno-pass-failed: clang warns of a loop that it leaves as it is, as it does below -O2.
    target_compile_options(${target}_${set} PRIVATE
      $<$<NOT:$<CONFIG:Debug>>:-O3> -fno-trapping-math ${kernel_flags_${set}}
      $<$<CXX_COMPILER_ID:Clang>:-Wno-pass-failed>)
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:${target}_${set}>)
  endforeach()
endfunction()
