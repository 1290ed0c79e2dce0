find_package(Eigen3 REQUIRED)
add_executable(bench_stats stats.cpp stats_peers.cpp)
target_link_libraries(bench_stats PRIVATE qlx_options qlx::qlx qlx::core benchmark::benchmark Eigen3::Eigen gsl gslcblas)
# The best that plain loops can be on this instruction set; results are not compared.
set_source_files_properties(stats_peers.cpp PROPERTIES COMPILE_OPTIONS "-mavx;-ffast-math")
