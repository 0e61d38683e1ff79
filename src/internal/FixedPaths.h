#pragma once

// Fixed file-system paths of the library. A build may prepend a prefix to all of them
// (TANGOR_SYSROOT, set by CMake) so that tests and demos work in a tree of their own; a production
// build leaves it empty and the paths are exactly the ones written here.

#ifndef TANGOR_SYSROOT
#define TANGOR_SYSROOT ""
#endif

#define TANGOR_FIXED_PATH(path) TANGOR_SYSROOT path
