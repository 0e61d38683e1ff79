# Cross-compiles for the head unit (32-bit ARM, hard float: Debian's armhf) with Debian's
# arm-linux-gnueabihf compilers against an armhf root file system (TANGOR_ARMHF_SYSROOT, or the
# environment variable of that name) that holds the -dev packages; tools/cross-test-armhf makes one.
# Programs built here run on the build machine through qemu-arm, so ctest works as in a native build.
#
#   cmake -S . -B build-armhf -DCMAKE_TOOLCHAIN_FILE=cmake/armhf-toolchain.cmake \
#         -DTANGOR_ARMHF_SYSROOT=$PWD/build-armhf/sysroot
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

if(NOT TANGOR_ARMHF_SYSROOT AND DEFINED ENV{TANGOR_ARMHF_SYSROOT})
  set(TANGOR_ARMHF_SYSROOT "$ENV{TANGOR_ARMHF_SYSROOT}")
endif()
if(NOT TANGOR_ARMHF_SYSROOT OR NOT IS_DIRECTORY "${TANGOR_ARMHF_SYSROOT}/usr/include")
  message(FATAL_ERROR "TANGOR_ARMHF_SYSROOT must name an armhf root file system with /usr/include "
                      "(got '${TANGOR_ARMHF_SYSROOT}')")
endif()
# try_compile() projects read this file again, without the command line's variables.
set(ENV{TANGOR_ARMHF_SYSROOT} "${TANGOR_ARMHF_SYSROOT}")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TANGOR_ARMHF_SYSROOT)

set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_SYSROOT "${TANGOR_ARMHF_SYSROOT}")

# Headers, libraries and packages come from the sysroot (and any staging root given on the command
# line) only; programs (pkg-config, ...) from the build machine.
list(APPEND CMAKE_FIND_ROOT_PATH "${TANGOR_ARMHF_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The host's pkg-config, reading only the sysroot's .pc files and prefixing the paths they give.
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${TANGOR_ARMHF_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR}
    "${TANGOR_ARMHF_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${TANGOR_ARMHF_SYSROOT}/usr/lib/pkgconfig:${TANGOR_ARMHF_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_PATH} "")

# -L makes qemu-arm load the dynamic loader and the shared libraries from the sysroot; a path that
# does not exist there (the build tree, the test trees) is the build machine's own.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L "${TANGOR_ARMHF_SYSROOT}")

# GCC notes that passing some iterators changed in GCC 7.1; nothing here links code built before it.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")
