#pragma once

// The two files of a dictionary, built in memory from a checked and sorted word list.

#include <vector>

#include "WordList.h"

namespace corvina::mkdic {

struct DictionaryImages {
    std::vector<unsigned char> settings;  // "njcon.a"
    std::vector<unsigned char> words;     // "njtan.a"
};

// `entries` must be sorted by word without duplicates, each word and reading within the format's
// limits, and few enough for the file's 32-bit sizes (the word list's line limit sees to that).
DictionaryImages buildImages(const std::vector<WordEntry>& entries);

}  // namespace corvina::mkdic
