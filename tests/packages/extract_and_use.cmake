# Unpacks the packages into one folder, and builds and runs hosts against it.
set(root ${WORK}/root)
file(REMOVE_RECURSE ${root})
file(GLOB packages ${WORK}/*.deb)
foreach(package IN LISTS packages)
  execute_process(COMMAND dpkg-deb -x ${package} ${root} COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# The system's linker would find the libraries once they are installed.
set(PREFIX ${root}/usr)
set(ENV{LD_LIBRARY_PATH} ${PREFIX}/${LIBDIR})
set(consumers ${ROOT}/tests/consumer)
foreach(consumer find_package pkg_config)
  set(SOURCE ${consumers}/${consumer})
  set(BUILD ${WORK}/${consumer})
  include(${consumers}/build_and_run.cmake)
endforeach()
if(PYTHON)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env PYTHONPATH=${PREFIX}/lib/python3/dist-packages
    /usr/bin/python3 -B ${ROOT}/tests/packages/use_package.py COMMAND_ERROR_IS_FATAL ANY)
endif()
if(TOOLS)
  # Loads the library, which it is not linked to.
  file(WRITE ${WORK}/points.csv "10,10\n30,11\n12,60\n")
  execute_process(COMMAND ${PREFIX}/bin/telvar sort --points ${WORK}/points.csv --height 24 COMMAND_ERROR_IS_FATAL ANY)
  # Where the program looks for what its demonstration trains on, from its own folder.
  file(GLOB labels ${PREFIX}/share/telvar-wrappers/data/segmenter_discs/classes.txt ${PREFIX}/share/man/man1/telvar.1*)
  list(LENGTH labels found)
  if(NOT found EQUAL 2)
    message(FATAL_ERROR "labels or manual page are not installed: found only '${labels}'")
  endif()
endif()
