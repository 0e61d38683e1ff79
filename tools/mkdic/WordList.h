#pragma once

// The word list of tangor-mkdic: UTF-8 lines "word<TAB>reading", optionally followed by
// "<TAB>weight" (a decimal count: how common the word is) and then "<TAB>start" (the word holds
// only at the start of a text); lines starting with "#" and empty lines are skipped, a line may end
// in
// "\r\n". Every bad line is collected with its reason, so that one run reports them all.

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace tangor::mkdic {

constexpr std::size_t kMaxLineBytes = 4096;
constexpr unsigned kMaxLines = 2000000;

struct WordEntry {
    std::u16string word;  // a start word begins with iwnn::kStartUnit
    std::u16string reading;
    std::uint32_t weight = 1;
    bool weighted = false;  // the line gave a weight
    unsigned line = 0;
};

struct LineError {
    unsigned line = 0;
    std::string reason;
};

struct WordList {
    std::vector<WordEntry> entries;  // sorted by word, unit by unit
    std::vector<LineError> errors;   // ordered by line
    bool weighted = false;           // some line gave a weight: the dictionary is a version 2 one
};

// The UTF-16 form of strict UTF-8 `text` into `out`; false at the first malformed sequence
// (overlong forms, surrogate code points, values above U+10FFFF, truncated or stray bytes).
bool decodeUtf8(std::string_view text, std::u16string& out);

// The reason `line` (without its line end) is bad, or an empty text with `entry` filled when it
// holds an entry. `skipped` tells a comment or an empty line.
std::string parseLine(std::string_view line, WordEntry& entry, bool& skipped);

// Reads the whole list from `file`. Returns false with `error` set (errno's text) when the file
// cannot be read; bad lines and duplicate words go to `list.errors`.
bool readWordList(std::FILE* file, WordList& list, std::string& error);

}  // namespace tangor::mkdic
