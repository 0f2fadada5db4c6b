# Run by CPack between installing and packing. In /usr the system's linker finds the libraries; the
# relative search paths are for prefixes that move, and Debian refuses them.
file(GLOB_RECURSE files LIST_DIRECTORIES OFF
  ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*.so.* ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/bin/*
  ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*.cpython-*.so)
foreach(file IN LISTS files)
  if(NOT IS_SYMLINK ${file})
    file(RPATH_REMOVE FILE ${file})
  endif()
endforeach()
