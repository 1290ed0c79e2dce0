# Data fitting against GSL, std::upper_bound, a branch-free bisection and a plain Thomas solver.
find_package(GSL REQUIRED)
add_executable(bench_fitting ${CMAKE_CURRENT_LIST_DIR}/fitting.cpp)
target_link_libraries(bench_fitting PRIVATE qlx_options qlx::qlx qlx::core benchmark::benchmark GSL::gsl)
