#pragma once

// How the built-in engine splits a text into words: with a version 2 dictionary, the split of the
// least total cost over the whole text (the most probable one, each word's cost being -ln of its
// share); with a version 1 dictionary, the longest word at each place in turn. Runs of Latin
// letters and digits stay whole; units the dictionary does not know stand alone.

#include <tangor/platform/IwnnWork.h>

#include <cstdint>

#include "iwnn/WordTable.h"

namespace corvina::iwnn {

// The most units one split looks at: its consumed count is 8 bits.
constexpr int kMaxSplitUnits = 255;

// One word of a split: `length` units from `start`; `entry` is a dictionary entry, or
// IWNN_LATIN_RUN, or IWNN_NO_READING. A start word's length leaves out its start unit.
struct Piece {
    int start;
    int length;
    std::int32_t entry;
};

// What the segmenter needs of a started engine.
struct Dictionary {
    WordTable table;
    const std::uint32_t* index;  // null for an empty dictionary
    int longestWord;
};

// Splits the first `units` units of `text` (no zero unit among them, at most kMaxSplitUnits) into
// pieces that cover them in order, at most `units` pieces. Returns the number of pieces.
int segment(const Dictionary& dictionary, const unsigned char* text, int units, Piece* pieces);

// A Latin letter or digit, ASCII or full-width.
bool isLatin(std::uint16_t unit);
// Its ASCII form, letters in lower case.
char latinLower(std::uint16_t unit);

// How many syllables the entry's reading holds, and where syllable `part` begins and how many
// units it has.
int syllableCount(const WordTable& table, std::uint32_t entry);
bool syllableOf(const WordTable& table, std::uint32_t entry, int part, const unsigned char** at,
                int* units);

// The characters of `units` units of text: a surrogate pair counts once.
int characterCount(const unsigned char* text, int units);

}  // namespace corvina::iwnn
