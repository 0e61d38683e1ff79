// The word-list reader of tangor-mkdic on any file: every entry it keeps is sorted and has a word
// and a reading.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "WordList.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;  // fmemopen refuses an empty buffer
    }
    std::string text(reinterpret_cast<const char*>(data), size);
    std::FILE* file = fmemopen(text.data(), text.size(), "r");
    if (file == nullptr) {
        return 0;
    }
    tangor::mkdic::WordList list;
    std::string error;
    tangor::mkdic::readWordList(file, list, error);
    std::fclose(file);
    for (std::size_t i = 0; i < list.entries.size(); ++i) {
        const tangor::mkdic::WordEntry& entry = list.entries[i];
        if (entry.word.empty() || entry.reading.empty() ||
            (i > 0 && list.entries[i - 1].word > entry.word)) {
            std::abort();
        }
    }
    return 0;
}
