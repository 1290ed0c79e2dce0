find_package(Eigen3 REQUIRED NO_MODULE)
add_executable(bench_vecmath vecmath.cpp ${PROJECT_SOURCE_DIR}/tools/accuracy/kernel_list.cpp
  vecmath_peers_plain.cpp vecmath_peers_glibc.cpp
  vecmath_peers_sleef.cpp vecmath_peers_mvec.cpp vecmath_peers_eigen.cpp)
target_link_libraries(bench_vecmath PRIVATE qlx_options qlx::qlx benchmark::benchmark sleef mvec Eigen3::Eigen)
target_include_directories(bench_vecmath PRIVATE ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tools)
# The best that a plain loop can be on this instruction set; results are not compared, so no contraction rule.
set_source_files_properties(vecmath_peers_plain.cpp PROPERTIES
  COMPILE_OPTIONS "-mavx;-fno-math-errno;-fno-trapping-math")
# The vector libraries' interfaces pass AVX registers.
set_source_files_properties(vecmath_peers_sleef.cpp vecmath_peers_mvec.cpp vecmath_peers_eigen.cpp PROPERTIES
  COMPILE_OPTIONS "-mavx")

# What one marked lane costs.
add_executable(bench_marked marked.cpp ${PROJECT_SOURCE_DIR}/tools/accuracy/kernel_list.cpp)
target_link_libraries(bench_marked PRIVATE qlx_options qlx::qlx)
target_include_directories(bench_marked PRIVATE ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tools)
