# Installs the build, moves the prefix, and uses it as hosts in C and in C++17 do.
cmake_policy(VERSION 3.25)
set(prefix ${WORK}/moved)
set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
# The programs must find the libraries by themselves.
unset(ENV{LD_LIBRARY_PATH})

# Runs a command; its output is then in `output`.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result
                  OUTPUT_VARIABLE output ERROR_VARIABLE output)
  string(REPLACE ";" " " command "${ARGN}")
  message(STATUS "${command}\n${output}")
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed: ${result}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

# Configures the project in `source` against the package only, into WORK/name, and builds it.
function(build name source)
  run(${CMAKE_COMMAND} -S ${source} -B ${WORK}/${name} -G ${GENERATOR}
      -DCMAKE_C_COMPILER=${CC} -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_BUILD_TYPE=Release
      -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_C_FLAGS=-Wall\ -Wextra\ -pedantic\ -Werror
      -DCMAKE_CXX_FLAGS=-Wall\ -Wextra\ -pedantic\ -Werror
      -DCMAKE_C_STANDARD=99 -DCMAKE_C_EXTENSIONS=OFF
      -DCMAKE_CXX_STANDARD=17 -DCMAKE_CXX_STANDARD_REQUIRED=ON -DCMAKE_CXX_EXTENSIONS=OFF ${ARGN})
  run(${CMAKE_COMMAND} --build ${WORK}/${name})
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/installed)
file(RENAME ${WORK}/installed ${prefix})

# Nothing may remember where it was built or first installed.
file(GLOB_RECURSE texts ${prefix}/*.cmake ${prefix}/*.pc ${prefix}/*.h)
foreach(text ${texts})
  file(READ ${text} contents)
  foreach(place ${WORK}/installed ${BUILD}/ ${SOURCE}/)
    string(FIND "${contents}" "${place}" found)
    if(NOT found EQUAL -1)
      message(FATAL_ERROR "${text} names ${place}")
    endif()
  endforeach()
endforeach()

# A host in C must not need OpenCV; one in C++ writes a file that the one in C reads.
build(c ${SOURCE}/examples/c -DCMAKE_DISABLE_FIND_PACKAGE_OpenCV=ON)
run(${WORK}/c/positions)
set(from_parameters "${output}")
build(cpp ${SOURCE}/examples/cpp)
run(${WORK}/cpp/luminance ${WORK}/luminance.mlcoefs)
run(${WORK}/c/positions ${WORK}/luminance.mlcoefs)

# The same host in C through pkg-config; the moved folder is not among the loader's.
run(${PKG_CONFIG} --cflags --libs multilayer)
separate_arguments(flags UNIX_COMMAND "${output}")
run(${CC} -std=c99 -pedantic -Wall -Wextra -Werror ${SOURCE}/examples/c/positions.c
    -o ${WORK}/positions ${flags})
run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${prefix}/${LIBDIR} ${WORK}/positions)
if(NOT output STREQUAL from_parameters)
  message(FATAL_ERROR "other positions than through CMake")
endif()

# Every installed header on its own.
build(headers ${CMAKE_CURRENT_LIST_DIR}/headers -DINCLUDE=${prefix}/${INCLUDEDIR})

# What a request for the package gives.
function(request request present)
  run(${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/components -B ${WORK}/components --fresh
      -G ${GENERATOR} -DCMAKE_C_COMPILER=${CC} -DCMAKE_PREFIX_PATH=${prefix}
      -DREQUEST=${request} -DPRESENT=${present} ${ARGN})
endfunction()
request("CONFIG" "pellix multilayer core")
request("0.1 CONFIG COMPONENTS multilayer" "pellix multilayer" -DCMAKE_DISABLE_FIND_PACKAGE_OpenCV=ON)
request("CONFIG COMPONENTS core" "pellix core")
request("CONFIG COMPONENTS pellix" "pellix")
request("CONFIG COMPONENTS core" "" -DCMAKE_DISABLE_FIND_PACKAGE_OpenCV=ON)
request("CONFIG COMPONENTS white" "")
request("1.0 CONFIG" "")

if(TOOL)
  run(${prefix}/${BINDIR}/multilayer --help)
endif()
