# 64-bit Windows from Linux: mingw-w64 with posix threads. Programs run under wine.
# Cross-built libraries: -DCMAKE_FIND_ROOT_PATH=<their prefix>.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
list(APPEND CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
# Programs (protoc, python) are the build machine's; everything else is the target's.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine-run)

# Vectors on the stack: GCC aligns it to 16 bytes here, yet moves wider ones as if they were aligned.
# The assembler then writes every such move as one that takes any address; it is as fast.
set(CMAKE_CXX_FLAGS_INIT -Wa,-muse-unaligned-vector-move)
