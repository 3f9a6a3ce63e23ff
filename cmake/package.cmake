# The installed package: relocatable, found by CMake (one component a target) and by pkg-config.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/multilayer)

# A host that links the shared library alone still makes measurement records.
set(record_headers
  api/multilayer.h
  io/metadata.h
  meter/led_meter.h)
set(core_headers
  ${record_headers}
  coeff/chroma_coeff.h
  coeff/lum_coeff.h
  color/chroma.h
  color/white_coeff.h
  io/bio.h
  io/byte_stream.h
  io/container.h
  multi_layer/multi_layer_coeff.h
  shot/shot.h)

function(multilayer_install_headers component)
  foreach(header ${ARGN})
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${PROJECT_SOURCE_DIR}/multilayer/${header}
            DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/multilayer/${folder} COMPONENT ${component})
  endforeach()
endfunction()

# One export set a target: what is not asked for need not be found, nor what it depends on.
function(multilayer_install_target target component)
  install(TARGETS ${target} EXPORT multilayer-${component}
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${component}
          ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${component})
  install(EXPORT multilayer-${component} NAMESPACE multilayer::
          FILE multilayer-${component}-targets.cmake
          DESTINATION ${package_dir} COMPONENT ${component})
endfunction()

multilayer_install_target(pellix pellix)
multilayer_install_target(multilayer multilayer)
multilayer_install_target(multilayer_core core)
install(FILES ${PROJECT_SOURCE_DIR}/pellix/pellix.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/pellix COMPONENT pellix)
multilayer_install_headers(multilayer ${record_headers})
multilayer_install_headers(core ${core_headers})

# Libraries lie beside each other; the command finds them from its own place.
set_target_properties(multilayer PROPERTIES INSTALL_RPATH "$ORIGIN")
if(TARGET multilayer_command)
  file(RELATIVE_PATH bin_to_lib
       ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(multilayer_command PROPERTIES INSTALL_RPATH "$ORIGIN/${bin_to_lib}")
  install(TARGETS multilayer_command
          RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
endif()

configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/multilayer-config.cmake.in
  ${PROJECT_BINARY_DIR}/package/multilayer-config.cmake
  INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
# Before 1.0 a minor version may change the interface.
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/package/multilayer-config-version.cmake COMPATIBILITY SameMinorVersion)
# Where pkg-config finds the prefix, from the place of its own file.
file(RELATIVE_PATH pc_to_prefix
     ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${CMAKE_CURRENT_LIST_DIR}/multilayer.pc.in
               ${PROJECT_BINARY_DIR}/package/multilayer.pc @ONLY)

# Every library can be installed without the others but pellix, with what finds it.
foreach(component pellix multilayer core)
  install(FILES ${PROJECT_BINARY_DIR}/package/multilayer-config.cmake
                ${PROJECT_BINARY_DIR}/package/multilayer-config-version.cmake
          DESTINATION ${package_dir} COMPONENT ${component})
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/package/multilayer.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT multilayer)
