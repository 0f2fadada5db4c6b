# What can be chosen when configuring.

if(PROJECT_IS_TOP_LEVEL)
  set(telvar_top_level ON)
else()
  set(telvar_top_level OFF)
endif()

set(TELVAR_ENGINE "embedded" CACHE STRING
    "Engine behind the wrappers: embedded (ours), scripted (the tests'), external (find_package(telvar))")
set_property(CACHE TELVAR_ENGINE PROPERTY STRINGS embedded scripted external)
if(NOT TELVAR_ENGINE MATCHES "^(embedded|scripted|external)$")
  message(FATAL_ERROR "TELVAR_ENGINE is '${TELVAR_ENGINE}'; it must be embedded, scripted or external")
endif()

if(WIN32)
  set(telvar_default_kernels portable)
else()
  set(telvar_default_kernels onednn)
endif()
set(TELVAR_KERNELS ${telvar_default_kernels} CACHE STRING
    "Convolution kernels of the embedded engine: onednn (and the portable ones where it has none) or portable alone")
set_property(CACHE TELVAR_KERNELS PROPERTY STRINGS onednn portable)
if(NOT TELVAR_KERNELS MATCHES "^(onednn|portable)$")
  message(FATAL_ERROR "TELVAR_KERNELS is '${TELVAR_KERNELS}'; it must be onednn or portable")
endif()

option(TELVAR_BUILD_TESTS "Build the tests" ${telvar_top_level})
option(TELVAR_BUILD_HOST "Build the program telvar" ${telvar_top_level})
option(TELVAR_BUILD_PYTHON "Build the Python package telvar (pybind11)" OFF)
option(TELVAR_BUILD_BENCH "Build the benchmarks" OFF)
option(TELVAR_BUILD_FUZZ "Build the fuzz targets (clang)" OFF)
option(TELVAR_INSTALL "Generate install rules and packages" ${telvar_top_level})
option(TELVAR_WERROR "Treat warnings as errors" OFF)
set(TELVAR_SANITIZE "" CACHE STRING "Sanitizers for the whole build, e.g. address,undefined or thread")
option(TELVAR_COVERAGE "Instrument for gcov" OFF)
