# The core library's solvers, products and threader, beside plain loops.
add_executable(bench_core ${CMAKE_CURRENT_LIST_DIR}/core.cpp)
target_link_libraries(bench_core PRIVATE qlx_options qlx::core benchmark::benchmark)
target_compile_options(bench_core PRIVATE -mavx)
