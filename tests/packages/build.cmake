# Makes the packages of BUILD below WORK and checks their names, relations and contents.
file(REMOVE_RECURSE ${WORK})
get_filename_component(tools_folder ${CMAKE_COMMAND} DIRECTORY)
execute_process(COMMAND ${tools_folder}/cpack --config ${BUILD}/CPackConfig.cmake -B ${WORK}
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)

# expect_package(<name> <path>...): one such package, holding these paths, described and documented.
function(expect_package name)
  file(GLOB found ${WORK}/${name}_*.deb)
  list(LENGTH found count)
  if(NOT count EQUAL 1)
    message(FATAL_ERROR "${count} packages ${name}")
  endif()
  execute_process(COMMAND dpkg-deb -c ${found} OUTPUT_VARIABLE contents COMMAND_ERROR_IS_FATAL ANY)
  foreach(path ${ARGN} /usr/share/doc/${name}/copyright /usr/share/doc/${name}/changelog.Debian.gz)
    string(FIND "${contents}" " .${path}" position)
    if(position EQUAL -1)
      message(FATAL_ERROR "${name} lacks ${path}:\n${contents}")
    endif()
  endforeach()
  execute_process(COMMAND dpkg-deb -f ${found} Depends OUTPUT_VARIABLE depends COMMAND_ERROR_IS_FATAL ANY)
  set(runtime libtelvarwrappers${SOVERSION})
  set(expected "libprotobuf")
  if(NOT name STREQUAL runtime)
    set(expected "${runtime} \\(= ")
  endif()
  if(NOT depends MATCHES "${expected}")
    message(FATAL_ERROR "${name} depends on: ${depends}")
  endif()
endfunction()

expect_package(libtelvarwrappers${SOVERSION}
  /usr/${LIBDIR}/libTelvarTypes.so.${SOVERSION} /usr/${LIBDIR}/libTelvarWrappers.so.${SOVERSION})
expect_package(libtelvarwrappers-dev
  /usr/${LIBDIR}/libTelvarWrappers.so /usr/${LIBDIR}/pkgconfig/telvar-wrappers.pc
  /usr/${LIBDIR}/cmake/TelvarWrappers/TelvarWrappersConfig.cmake
  /usr/include/TelvarTypes/TelvarTypes.h /usr/include/TelvarWrappers/CreateWrapperFactory.h)
if(PYTHON)
  expect_package(python3-telvar
    /usr/lib/python3/dist-packages/telvar/__init__.py /usr/lib/python3/dist-packages/telvar/py.typed)
endif()
if(TOOLS)
  expect_package(telvar-tools /usr/bin/telvar)
endif()
