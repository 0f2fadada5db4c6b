# Configures SOURCE into BUILD against PREFIX, builds it and runs its program `consumer`.
file(REMOVE_RECURSE ${BUILD})
execute_process(
  COMMAND ${CMAKE_COMMAND} -G Ninja -S ${SOURCE} -B ${BUILD} -DCMAKE_BUILD_TYPE=Release
          -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_PREFIX_PATH=${PREFIX} -DTELVAR_PREFIX=${PREFIX} -DTELVAR_LIBDIR=${LIBDIR}
          -DTELVAR_ROOT=${ROOT} ${EXTRA}
  COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${BUILD} COMMAND_ERROR_IS_FATAL ANY)
if(EXISTS ${BUILD}/consumer)
  execute_process(COMMAND ${BUILD}/consumer COMMAND_ERROR_IS_FATAL ANY)
elseif(NOT EXISTS ${BUILD}/nothing-to-run)
  message(FATAL_ERROR "${SOURCE} built no program 'consumer'")
endif()
