#pragma once

// Phonetic conversion entry points, exported under unmangled names.
//
// The readings come from the conversion engine, which works on its one process-wide work area
// `iWnn`: `init_lib` loads the dictionary pair of a market into it and starts the engine,
// `transf_to_pinyin` reads texts with it, `free_dic` releases what it holds. None of the three may
// run while another of them runs on some other thread. `init_lib` reports failures on standard
// error and through g_log; the others report nothing.
//
// The converters translate between UTF-8 and UTF-16BE (16-bit units, high byte first on every host,
// ended by a zero unit). They work on caller buffers, allocate nothing and report nothing:
// malformed input ends the conversion there, and the output holds the terminated prefix converted
// so far. Both are pure and safe on any thread.

#include <tangor/export.h>
#include <tangor/platform/IwnnWork.h>

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

// The engine's work area; all zero until `init_lib`.
TANGOR_EXPORT extern IwnnWork iWnn;

// Clears the work area (without releasing what an earlier call loaded: call `free_dic` first),
// loads the dictionary pair of `countryCode` (6: pinyin, 9: bopomofo; any other code loads
// nothing) and starts the engine; a pair that cannot be loaded leaves the engine stopped. Call
// it once per process, or again after `free_dic`.
TANGOR_EXPORT void init_lib(IwnnWork* work, int countryCode);

// The reading of the UTF-8 text `input`: null when the text converts to nothing (empty, or not
// starting with a convertible character); the empty text when nothing was read, which is a
// constant the caller must not release; otherwise a text allocated with malloc that the caller
// releases with free. Only the first 55 UTF-16 units are read. One trailing carriage return, then
// one trailing line feed, are cut off `input` in place: pass a copy to keep it unchanged.
TANGOR_EXPORT char* transf_to_pinyin(char* input);

// Releases every buffer the work area holds, except an image marked as owned elsewhere, and
// leaves null slots; a second call finds nothing to release.
TANGOR_EXPORT void free_dic(IwnnWork* work);

#ifdef __cplusplus
}

// The work area may also be named itself: init_lib(iWnn, 6).
inline void init_lib(IwnnWork& work, int countryCode) {
    init_lib(&work, countryCode);
}
inline void free_dic(IwnnWork& work) {
    free_dic(&work);
}
#endif
