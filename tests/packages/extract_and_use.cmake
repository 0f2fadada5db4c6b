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
  file(GLOB labels ${PREFIX}/share/telvar-wrappers/data/segmenter_discs/classes.txt
    ${PREFIX}/share/man/man1/telvar.1* ${PREFIX}/share/man/man1/telvar-train.1*
    ${PREFIX}/share/bash-completion/completions/telvar)
  list(LENGTH labels found)
  if(NOT found EQUAL 4)
    message(FATAL_ERROR "labels, manual pages or completion are not installed: found only '${labels}'")
  endif()
  # What is completed after the words of the arguments, the last of which has begun.
  file(WRITE ${WORK}/complete.sh "source '${PREFIX}/share/bash-completion/completions/telvar'
    COMP_WORDS=(telvar \"$@\"); COMP_CWORD=$#; _telvar; echo \"\${COMPREPLY[*]}\"\n")
  foreach(case "tr=train" "train;--sta=--state" "convert;--from;cv=cvat" "train;--from;cv=" "--quiet;chec=check")
    string(REGEX MATCH "^(.*)=([^=]*)$" unused "${case}")
    set(words ${CMAKE_MATCH_1})
    set(expected "${CMAKE_MATCH_2}")
    execute_process(COMMAND bash ${WORK}/complete.sh ${words}
      OUTPUT_VARIABLE completed OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    if(NOT completed STREQUAL expected)
      message(FATAL_ERROR "'${words}' is completed to '${completed}', not '${expected}'")
    endif()
  endforeach()
endif()
