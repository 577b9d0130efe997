# SPDX-License-Identifier: MIT
# Installs the build into a scratch prefix, then configures, builds and runs the
# consumer project against it. Called by ctest with BUILD_DIR, TEST_DIR, WORK_DIR.
file(REMOVE_RECURSE "${WORK_DIR}")
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "failed (${status}): ${ARGN}\n${out}")
  endif()
  message("${out}")
endfunction()
run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${WORK_DIR}/prefix")
run(${CMAKE_COMMAND} -S "${TEST_DIR}/install" -B "${WORK_DIR}/build" -G Ninja
    "-DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix" "-DTALLYWICK_TEST_DIR=${TEST_DIR}")
run(${CMAKE_COMMAND} --build "${WORK_DIR}/build")
run("${WORK_DIR}/build/consumer")
