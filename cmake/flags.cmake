# Compiler flags of every target.
# -ffp-contract=off: the definitions round after every operation; a fused multiply-add rounds once
# less and gives other last bits. g++ fuses by default wherever the instruction set has FMA.
add_compile_options(-Wall -Wextra -Wconversion -ffp-contract=off)
if(MULTILAYER_WERROR)
  add_compile_options(-Werror)
endif()

# MULTILAYER_SANITIZE: a comma-separated list for -fsanitize, or empty.
set(MULTILAYER_SANITIZE "" CACHE STRING "Sanitizers to build with, e.g. address,undefined")
if(MULTILAYER_SANITIZE)
  add_compile_options(-fsanitize=${MULTILAYER_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${MULTILAYER_SANITIZE})
  add_compile_definitions(MULTILAYER_SANITIZED)
  # clang puts its runtime into programs, not into libraries: one in C gets that of C++ too.
  set(CMAKE_C_LINK_EXECUTABLE "${CMAKE_CXX_LINK_EXECUTABLE}")
  # For what calls the library, tests and the command: to optimise it takes longer than it then saves.
  set(MULTILAYER_CALLER_OPTIONS -O0)
endif()
