# What `cmake --install` puts in place: the versioned shared library
# (component "runtime"), the public headers, the CMake package and the
# pkg-config file (component "development"). The program and its man page
# are installed by tools/ (component "runtime").
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS halftone EXPORT halftoneTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/halftone
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/halftone)
install(EXPORT halftoneTargets NAMESPACE halftone:: DESTINATION ${config_dir}
  COMPONENT development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/halftoneConfig.cmake.in
  ${PROJECT_BINARY_DIR}/halftoneConfig.cmake INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/halftoneConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/halftoneConfig.cmake
  ${PROJECT_BINARY_DIR}/halftoneConfigVersion.cmake
  DESTINATION ${config_dir} COMPONENT development)

file(RELATIVE_PATH HALFTONE_PC_UP ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/halftone.pc.in ${PROJECT_BINARY_DIR}/halftone.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/halftone.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
