# Installed: both libraries, headers, the command, the CMake package `qlx` and the pkg-config file `qlx`.
include(CMakePackageConfigHelpers)
install(TARGETS qlx_avx qlx_core EXPORT qlx-targets)
install(DIRECTORY include/qlx DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
set(qlx_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qlx)
install(EXPORT qlx-targets NAMESPACE qlx:: DESTINATION ${qlx_cmake_dir})
configure_package_config_file(cmake/qlx-config.cmake.in ${PROJECT_BINARY_DIR}/qlx-config.cmake
  INSTALL_DESTINATION ${qlx_cmake_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qlx-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qlx-config.cmake ${PROJECT_BINARY_DIR}/qlx-config-version.cmake
  DESTINATION ${qlx_cmake_dir})
configure_file(cmake/qlx.pc.in ${PROJECT_BINARY_DIR}/qlx.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qlx.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
