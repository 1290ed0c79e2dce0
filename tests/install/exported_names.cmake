# The core library exports the names that qlx/core.h declares, all and nothing else; the kernel library exports nothing
# that src/exports.txt doesn't list. Wants CORE, AVX, NM, COMPILER, SOURCE.
# SPDX-License-Identifier: Apache-2.0

function(exported_names library result)
  execute_process(COMMAND ${NM} -D --defined-only --format=posix ${library}
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[^\n]+" lines "${symbols}")
  list(TRANSFORM lines REPLACE "[ @].*" "")
  list(LENGTH lines count)
  if(count EQUAL 0)
    message(FATAL_ERROR "${library} exports nothing, or ${NM} can't read it")
  endif()
  set(${result} ${lines} PARENT_SCOPE)
endfunction()

# Fails when `names` has what `allowed` has not.
function(expect_within names allowed message)
  list(REMOVE_ITEM names ${allowed})
  if(names)
    message(SEND_ERROR "${message}: ${names}")
  endif()
endfunction()

execute_process(COMMAND ${COMPILER} -E -P -I ${SOURCE}/include -x c ${SOURCE}/include/qlx/core.h
  OUTPUT_VARIABLE header COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "(qlx_[a-z0-9]+_[a-z0-9_]+|[ds]dt[a-z]+_4dfl) *\\(" declared "${header}")
list(TRANSFORM declared REPLACE " *\\(" "")
exported_names(${CORE} core)
expect_within("${core}" "${declared}" "the core library exports names that its header doesn't declare")
expect_within("${declared}" "${core}" "the core library lacks names that its header declares")

file(STRINGS ${SOURCE}/src/exports.txt listed REGEX "^[^#]")
exported_names(${AVX} avx)
expect_within("${avx}" "${listed}" "the kernel library exports names that src/exports.txt doesn't list")
