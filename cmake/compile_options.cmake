# Options that every target shares.
#
# Results may not depend on the compiler's taste: no contraction into fused multiply-add, no x87 temporaries on
# 32 bits, nothing beyond AVX. -ffp-contract=off and -mfpmath=sse hold that; src/ asserts FLT_EVAL_METHOD == 0.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

add_library(qlx_options INTERFACE)
target_include_directories(qlx_options INTERFACE ${PROJECT_SOURCE_DIR}/include)
target_compile_options(qlx_options INTERFACE
  -Wall -Wextra -Wshadow -Wno-psabi -ffp-contract=off)

# The kernel library alone: a plain C interface crosses it, so neither exceptions nor type information are needed.
add_library(qlx_kernel_options INTERFACE)
target_link_libraries(qlx_kernel_options INTERFACE qlx_options)
target_include_directories(qlx_kernel_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_options(qlx_kernel_options INTERFACE
  -mavx -mfpmath=sse -fno-math-errno $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)

find_program(QLX_CCACHE ccache)
if(QLX_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER ${QLX_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${QLX_CCACHE})
endif()
