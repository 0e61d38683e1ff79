# Installs the built library into PREFIX, then builds and runs a small program against it, once
# found with find_package() and once with pkg-config. A cross build adds the consumer's configure
# arguments (CONSUMER_ARGS) and the command that runs its programs (EMULATOR), each "|"-separated.
file(REMOVE_RECURSE "${WORK_DIR}" "${PREFIX}")
string(REPLACE "|" ";" consumer_args "${CONSUMER_ARGS}")
string(REPLACE "|" ";" emulator "${EMULATOR}")

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}")
  endif()
endfunction()

# The library and its development files only: the dictionaries install at fixed paths of the test
# root, where other tests place their own at the same time.
foreach(component runtime dev)
  run(${CMAKE_COMMAND} --install "${TANGOR_BUILD_DIR}" --prefix "${PREFIX}" --component ${component})
endforeach()
run(${CMAKE_COMMAND} -S "${CONSUMER_SOURCE_DIR}" -B "${WORK_DIR}/build" -G "${CMAKE_GENERATOR}"
    "-DCMAKE_PREFIX_PATH=${PREFIX}" ${consumer_args})
run(${CMAKE_COMMAND} --build "${WORK_DIR}/build")
run(${emulator} "${WORK_DIR}/build/consumer_cmake")
run(${emulator} "${WORK_DIR}/build/consumer_pkgconfig")
