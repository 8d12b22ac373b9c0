# Installs headers, library, pkg-config file and CMake package. The paths in them are relative, so
# the installed tree can be moved. The target uninstall removes the files of the last installation.
include(CMakePackageConfigHelpers)

install(TARGETS velmor-core EXPORT velmor-core-targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/velmor_core DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/velmor-core)
install(EXPORT velmor-core-targets NAMESPACE velmor:: DESTINATION ${package_dir})
configure_package_config_file(cmake/velmor-core-config.cmake.in velmor-core-config.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(velmor-core-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/velmor-core-config.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/velmor-core-config-version.cmake
        DESTINATION ${package_dir})

set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
           BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}/${pkgconfig_dir}
           OUTPUT_VARIABLE prefix_from_pkgconfig)
configure_file(cmake/velmor-core.pc.in velmor-core.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/velmor-core.pc DESTINATION ${pkgconfig_dir})

if(PROJECT_IS_TOP_LEVEL)
  add_custom_target(uninstall COMMAND ${CMAKE_COMMAND} -P ${PROJECT_SOURCE_DIR}/cmake/uninstall.cmake
                    WORKING_DIRECTORY ${PROJECT_BINARY_DIR} VERBATIM)
endif()
