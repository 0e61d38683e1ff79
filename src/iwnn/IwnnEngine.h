#pragma once

// The conversion engine's calls. This machine's build links a stand-in (src/iwnn); a
// build for the head unit may link the real engine instead (TANGOR_IWNN_LIBRARY).
//
// Texts are UTF-16BE: 16-bit units, high byte first, ended by a zero unit. Every call fails
// (negative result) on a null argument or before njx_init has accepted the dictionaries, and no
// call writes past the size it is given.

#include <tangor/platform/IwnnWork.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { IWNN_MAX_WORDS = 50 };

// Validates the dictionaries in the work area and starts the engine on them: the words image of
// table entry 0 and the settings image of the settings buffer, both or neither (an empty
// dictionary). Returns 0, or a negative value with the engine stopped. `options` is unused.
int njx_init(IwnnWork* work, const void* options);

// The length of a zero-terminated text in units; 0 for a null text.
int nj_strlen(const unsigned char* text);

// Splits `text` into words by longest match, writing at most IWNN_MAX_WORDS records to `words`.
// Returns the number of records and sets `*consumed` to the units they cover (never above 255).
int mmx_split_word(IwnnWork* work, const unsigned char* text, uint8_t* consumed, IwnnWord* words);

// Writes the reading of `word`, zero-terminated, into the `size` bytes at `buffer`, cut to fit
// (never inside a surrogate pair). Returns the units written; 0 or less when there is no reading.
// `flag` may be null; the stand-in leaves it alone.
int mmx_get_yomi(IwnnWork* work, const IwnnWord* word, unsigned char* buffer, int size,
                 uint8_t* flag);

// Writes the word itself, zero-terminated, into the `size` bytes at `buffer`. Returns its length
// in units; 0 or less when it is longer than the dictionary's candidate limit or does not fit.
int njx_get_candidate(IwnnWork* work, const IwnnWord* word, unsigned char* buffer, int size);

#ifdef __cplusplus
}
#endif
