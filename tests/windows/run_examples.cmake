# Builds the three examples against what is installed, and runs them:
#
#   cmake -DBUILD_DIR= -DEXAMPLES= -DTOOLCHAIN= -DROOTS= -DRUNNER= -DWORK= -P run_examples.cmake
#
# ROOTS: prefixes of the cross-built libraries, separated by "|".

function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    list(JOIN ARGV " " command)
    message(FATAL_ERROR "failed (${status}): ${command}")
  endif()
endfunction()

string(REPLACE "|" "\\;" roots "${ROOTS}")
file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK}/installed)
run(${CMAKE_COMMAND} -S ${EXAMPLES} -B ${WORK}/build -G Ninja
  -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} "-DCMAKE_FIND_ROOT_PATH=${WORK}/installed\\;${roots}")
run(${CMAKE_COMMAND} --build ${WORK}/build)
set(ENV{WINEPATH} "Z:${WORK}/installed/bin")
foreach(example IN ITEMS classify read segment)
  run(${RUNNER} ${WORK}/build/${example}.exe)
endforeach()
