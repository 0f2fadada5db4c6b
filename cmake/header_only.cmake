# Libraries that are headers alone, so the build machine's serve every target.

# telvar_header_only(<variable> <header> <folder or file to copy> <package>): the folder that
# <header> is included from. When cross-compiling that is a copy: the build machine's own folder
# holds its C library's headers too.
function(telvar_header_only variable header part package)
  find_path(${variable}_HERE ${header} PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH)
  mark_as_advanced(${variable}_HERE)
  if(NOT ${variable}_HERE)
    message(FATAL_ERROR "${header} not found; Debian: ${package}")
  endif()
  set(folder ${${variable}_HERE})
  if(CMAKE_CROSSCOMPILING)
    set(folder ${PROJECT_BINARY_DIR}/header_only/${package})
    file(COPY ${${variable}_HERE}/${part} DESTINATION ${folder})
  endif()
  set(${variable} ${folder} PARENT_SCOPE)
endfunction()
