# lintian finds no error in the packages.
find_program(LINTIAN lintian)
if(NOT LINTIAN)
  execute_process(COMMAND ${CMAKE_COMMAND} -E echo "skipped: lintian is not installed")
  return()
endif()
file(GLOB packages ${WORK}/*.deb)
execute_process(COMMAND ${LINTIAN} --allow-root --fail-on error ${packages} COMMAND_ERROR_IS_FATAL ANY)
