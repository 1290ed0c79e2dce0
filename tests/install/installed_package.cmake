# Installs the build into a fresh prefix, moves it, and builds and runs consumers against it: CMake's package, then
# pkg-config. Wants BUILD, WORK, LIBDIR, CONSUMER, GENERATOR, C_COMPILER, CXX_COMPILER, C_FLAGS, CXX_FLAGS.
# SPDX-License-Identifier: Apache-2.0

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/first)
# Nothing may depend on where it was installed first.
set(prefix "${WORK}/a prefix")
file(RENAME ${WORK}/first ${prefix})

# Optimization is the consumer's affair; the target (32 bits, sanitizers) has to be the libraries'.
run(${CMAKE_COMMAND} -S ${CONSUMER} -B ${WORK}/build -G ${GENERATOR} -D CMAKE_PREFIX_PATH=${prefix}
  -D CMAKE_C_COMPILER=${C_COMPILER} -D CMAKE_CXX_COMPILER=${CXX_COMPILER}
  -D CMAKE_C_FLAGS=${C_FLAGS} -D CMAKE_CXX_FLAGS=${CXX_FLAGS})
run(${CMAKE_COMMAND} --build ${WORK}/build)
run(${WORK}/build/consumer_c)
run(${WORK}/build/consumer_cpp)
run(${WORK}/build/consumer_of_core)

find_program(PKG_CONFIG NAMES pkgconf pkg-config REQUIRED)
execute_process(
  COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${prefix}/${LIBDIR}/pkgconfig ${PKG_CONFIG} --cflags --libs qlx
  OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
separate_arguments(target_flags UNIX_COMMAND "${C_FLAGS}")
run(${C_COMPILER} ${target_flags} ${CONSUMER}/consumer.c -o ${WORK}/consumer_pkg_config ${flags})
run(${CMAKE_COMMAND} -E env "LD_LIBRARY_PATH=${prefix}/${LIBDIR}" ${WORK}/consumer_pkg_config)
