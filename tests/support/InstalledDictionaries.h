#pragma once

// Dictionary pairs built by the dictionary tool from a word list and placed where init_lib looks
// for them, below the test build's fixed root.

#include <tangor/phonetic/phonetic.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "support/TestSupport.h"

namespace tangor::test {

// The market's "njcon.a", or with `words` its "njtan.a" (6: mainland, 9: Taiwan), in the folder
// where init_lib looks for them or in `folder`.
inline std::string dictionaryPath(int countryCode, bool words,
                                  const std::string& folder = TANGOR_SYSROOT
                                  "/opt/hmi/data/ro/FEP/dic/utf16be/ZH") {
    const bool cn = countryCode == 6;
    return folder + (!words ? (cn ? "/CN/njcon.a" : "/TW/njcon.a")
                            : (cn ? "/CN/pinyin/njtan.a" : "/TW/bopomofo/njtan.a"));
}

// A word list kept beside the phonetic tests.
inline std::string phoneticTestList(const char* name) {
    return std::string(TANGOR_TEST_SOURCE_DIR) + "/phonetic/" + name;
}

inline void installDictionary(int countryCode, const std::string& wordList) {
    std::filesystem::create_directories(
        std::filesystem::path(dictionaryPath(countryCode, true)).parent_path());
    makeDictionary(wordList, dictionaryPath(countryCode, false), dictionaryPath(countryCode, true));
}

// The reading transf_to_pinyin gives `text` (which it may shorten in place), "<null>" for none; a
// non-empty reading is released here.
inline std::string readingOf(std::string& text) {
    char* reading = transf_to_pinyin(text.data());
    const std::string result = reading == nullptr ? "<null>" : reading;
    if (reading != nullptr && reading[0] != 0) {
        std::free(reading);
    }
    return result;
}

struct ReadingCase {
    int countryCode;
    std::string text;
    std::string reading;
};

// Each case read with its market's installed pair, each market's pair loaded once.
inline void expectReadings(const std::vector<ReadingCase>& cases) {
    for (const int code : {6, 9}) {
        init_lib(&iWnn, code);
        for (const ReadingCase& c : cases) {
            if (c.countryCode == code) {
                std::string text = c.text;
                EXPECT_EQ(readingOf(text), c.reading) << c.text << " on market " << code;
            }
        }
        free_dic(&iWnn);
    }
}

}  // namespace tangor::test
