# Installed: both libraries, headers, the command, the CMake package `qlx` and the pkg-config file `qlx`.
include(CMakePackageConfigHelpers)

# The two libraries lie side by side, wherever they are installed.
if(NOT WIN32)
  set_target_properties(qlx_avx PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()
install(TARGETS qlx_avx qlx_core EXPORT qlx-targets)
install(DIRECTORY include/qlx DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
set(qlx_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qlx)
install(EXPORT qlx-targets NAMESPACE qlx:: DESTINATION ${qlx_cmake_dir})
configure_package_config_file(cmake/qlx-config.cmake.in ${PROJECT_BINARY_DIR}/qlx-config.cmake
  INSTALL_DESTINATION ${qlx_cmake_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qlx-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qlx-config.cmake ${PROJECT_BINARY_DIR}/qlx-config-version.cmake
  DESTINATION ${qlx_cmake_dir})

# The pkg-config file finds its prefix from its own place, so that the tree may be moved; absolute folders stay so.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(qlx_pc_prefix ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH qlx_pc_up /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
  string(REGEX REPLACE "/$" "" qlx_pc_up ${qlx_pc_up})
  set(qlx_pc_prefix "\${pcfiledir}/${qlx_pc_up}")
endif()
foreach(folder LIBDIR INCLUDEDIR)
  string(TOLOWER qlx_pc_${folder} variable)
  if(IS_ABSOLUTE ${CMAKE_INSTALL_${folder}})
    set(${variable} ${CMAKE_INSTALL_${folder}})
  else()
    set(${variable} "\${prefix}/${CMAKE_INSTALL_${folder}}")
  endif()
endforeach()
configure_file(cmake/qlx.pc.in ${PROJECT_BINARY_DIR}/qlx.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qlx.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
