# Random streams beside the standard library's, GSL's and Boost's generators.
find_package(GSL REQUIRED)
find_package(Boost REQUIRED)
add_executable(bench_rng ${CMAKE_CURRENT_LIST_DIR}/rng.cpp)
target_link_libraries(bench_rng PRIVATE qlx_options qlx::qlx benchmark::benchmark GSL::gsl Boost::headers)
# Loops on whole cache lines: the short ones of the peers lose a fifth where they straddle two.
target_compile_options(bench_rng PRIVATE -mavx -falign-loops=64 -falign-jumps=64)
