#pragma once

// The library is built with hidden symbols; only what carries this mark is its interface.
#if defined(__GNUC__)
#define TANGOR_EXPORT __attribute__((visibility("default")))
#else
#define TANGOR_EXPORT
#endif
