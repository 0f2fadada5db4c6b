# oneDNN by its header and library: its own CMake package asks for OpenCL's headers, which nothing
# here uses.

find_path(DNNL_INCLUDE_DIR dnnl.hpp)
find_library(DNNL_LIBRARY dnnl)
mark_as_advanced(DNNL_INCLUDE_DIR DNNL_LIBRARY)
if(NOT DNNL_INCLUDE_DIR OR NOT DNNL_LIBRARY)
  message(FATAL_ERROR "oneDNN (dnnl.hpp, libdnnl) not found; Debian: libdnnl-dev. "
                      "TELVAR_KERNELS=portable does without")
endif()
if(NOT TARGET telvar_dnnl)
  add_library(telvar_dnnl INTERFACE)
  target_include_directories(telvar_dnnl SYSTEM INTERFACE ${DNNL_INCLUDE_DIR})
  target_link_libraries(telvar_dnnl INTERFACE ${DNNL_LIBRARY})
endif()
