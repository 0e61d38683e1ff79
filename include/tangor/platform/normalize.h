#pragma once

// Stand-in for the platform language library's text normalisation, exported under an unmangled
// name. Texts that sort together come out the same: NFKC, then Unicode case folding, then katakana
// (U+30A1..U+30F6 and the iteration marks U+30FD, U+30FE) folded to the matching hiragana. Pure and
// safe on any thread.

#include <tangor/export.h>

#ifdef __cplusplus
extern "C" {
#endif

// Normalises the `length` bytes of UTF-8 at `text`; no byte past them is read and no terminator is
// needed (a NUL byte among them is kept as a character). Returns a new NUL-terminated text the
// caller releases with free(), or null when `text` is null, is not valid UTF-8 or is too long to
// process (or memory runs out). When `outLength` is not null it receives the result's length in
// bytes before the terminator, 0 with a null result.
TANGOR_EXPORT char* normalize_utf8(const char* text, unsigned length, unsigned* outLength);

#ifdef __cplusplus
}
#endif
