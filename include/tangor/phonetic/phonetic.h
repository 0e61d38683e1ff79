#pragma once

// Phonetic conversion entry points, exported under unmangled names.
//
// The converters translate between UTF-8 and UTF-16BE (16-bit units, high byte first on every host,
// ended by a zero unit). They work on caller buffers, allocate nothing and report nothing:
// malformed input ends the conversion there, and the output holds the terminated prefix converted
// so far. Both are pure and safe on any thread.

#include <tangor/export.h>

#ifdef __cplusplus
extern "C" {
#endif

// Converts the NUL-terminated UTF-8 text `src` into at most `maxUnits` units at `dst`, then a zero
// unit. `dst` must hold maxUnits + 1 units (2 * maxUnits + 2 bytes). Returns the units written
// before the terminator; 0 with nothing written when `src` or `dst` is null.
TANGOR_EXPORT int utf8_to_utf16be(const char* src, unsigned char* dst, int maxUnits);

// Converts at most `maxUnits` units of the UTF-16BE text `src` (it ends earlier at a zero unit)
// into UTF-8 at `dst`, then a NUL byte. `dst` must hold 3 * maxUnits + 1 bytes. Returns the bytes
// written before the NUL; 0 with nothing written when `src` or `dst` is null.
TANGOR_EXPORT int utf16be_to_utf8(const unsigned char* src, char* dst, int maxUnits);

#ifdef __cplusplus
}
#endif
