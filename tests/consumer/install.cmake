# Installs BUILD below STAGE, then moves the prefix.
file(REMOVE_RECURSE ${STAGE})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${STAGE}/first
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(RENAME ${STAGE}/first ${STAGE}/moved)
