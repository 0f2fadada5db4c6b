# Modules of OpenCV, by header and library. OpenCV's own CMake package comes with all its modules or none, which are
# some 200 more packages of Debian's.

find_path(TELVAR_OPENCV_INCLUDE_DIR opencv2/core.hpp PATH_SUFFIXES opencv4)
mark_as_advanced(TELVAR_OPENCV_INCLUDE_DIR)

# telvar_find_opencv(<module>...): a target opencv_<module> for each.
function(telvar_find_opencv)
  foreach(module IN LISTS ARGN)
    if(TARGET opencv_${module})
      continue()
    endif()
    find_library(TELVAR_OPENCV_${module} opencv_${module})
    mark_as_advanced(TELVAR_OPENCV_${module})
    if(NOT TELVAR_OPENCV_${module} OR NOT EXISTS "${TELVAR_OPENCV_INCLUDE_DIR}/opencv2/${module}.hpp")
      message(FATAL_ERROR "OpenCV's module ${module} is missing (libopencv-${module}-dev)")
    endif()
    add_library(opencv_${module} UNKNOWN IMPORTED GLOBAL)
    set_target_properties(opencv_${module} PROPERTIES
      IMPORTED_LOCATION "${TELVAR_OPENCV_${module}}"
      INTERFACE_INCLUDE_DIRECTORIES "${TELVAR_OPENCV_INCLUDE_DIR}")
  endforeach()
endfunction()
