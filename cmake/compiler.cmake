# One set of compiler settings for every target of this project.

include(GNUInstallDirs)

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

# Libraries find each other in the build tree, and relative to themselves once installed.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
if(WIN32)
  # TelvarWrappers.dll whichever compiler made it.
  set(CMAKE_SHARED_LIBRARY_PREFIX "")
else()
  set(CMAKE_INSTALL_RPATH "$ORIGIN;$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  # The build tree has the same places. A path of its own would end in a colon, as CMake writes what it
  # is to replace when installing, and the loader would look in the working folder. An engine that is
  # installed elsewhere can be found by such a path alone.
  if(NOT TELVAR_ENGINE STREQUAL "external")
    set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
    set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
  endif()
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # Precompiled headers need the sloppiness to be cached at all; relative paths let checkouts share.
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
      CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
      CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1 CCACHE_COMPILERCHECK=content ${CCACHE_PROGRAM})
  add_compile_options(-fpch-preprocess)
endif()

# telvar_compile_options(<target>): warnings and instrumentation.
function(telvar_compile_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
  if(TELVAR_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

if(TELVAR_SANITIZE)
  add_compile_options(-fsanitize=${TELVAR_SANITIZE} -fno-omit-frame-pointer -g)
  add_link_options(-fsanitize=${TELVAR_SANITIZE})
  if(TELVAR_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()
if(TELVAR_BUILD_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "TELVAR_BUILD_FUZZ needs clang, not ${CMAKE_CXX_COMPILER_ID}")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(TELVAR_COVERAGE)
  add_compile_options(--coverage -O0 -g)
  add_link_options(--coverage)
endif()
