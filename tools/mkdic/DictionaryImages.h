#pragma once

// The two files of a dictionary, built in memory from a checked and sorted word list.

#include <cstdint>
#include <vector>

#include "WordList.h"

namespace tangor::mkdic {

struct DictionaryImages {
    std::vector<unsigned char> settings;  // "njcon.a"
    std::vector<unsigned char> words;     // "njtan.a"
};

// `entries` must be sorted by word without duplicates, each word and reading within the format's
// limits, and few enough for the file's 32-bit sizes (the word list's line limit sees to that).
// With `weighted`, a version 2 pair: each entry's cost from its share of all the weights.
DictionaryImages buildImages(const std::vector<WordEntry>& entries, bool weighted);

// The cost of a word of weight `weight` among words weighing `total` in all.
std::uint16_t costOf(std::uint32_t weight, double total);

}  // namespace tangor::mkdic
