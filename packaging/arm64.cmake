# Builds for arm64 with Debian's cross compiler against the tree that tools/arm64_sysroot.sh makes.
#
# Usage: cmake -DCMAKE_TOOLCHAIN_FILE=packaging/arm64.cmake -DKESTRA_SYSROOT=DIR ...
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

set(KESTRA_SYSROOT "" CACHE PATH "Debian arm64 tree made by tools/arm64_sysroot.sh")
# Tried-out little projects of CMake's own must know the tree as well.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KESTRA_SYSROOT)
if(NOT EXISTS ${KESTRA_SYSROOT}/DEBIAN/symbols)
  message(FATAL_ERROR "No arm64 tree in \"${KESTRA_SYSROOT}\": make one with "
          "tools/arm64_sysroot.sh DIR and name it with -DKESTRA_SYSROOT=DIR")
endif()

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_SYSROOT ${KESTRA_SYSROOT})

# Programs run on this machine (ppdc, gzip); headers and libraries are the other machine's.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
