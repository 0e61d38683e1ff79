#pragma once

// Dictionary pairs built by the dictionary tool from a word list and placed where init_lib looks
// for them, below the test build's fixed root.

#include <filesystem>
#include <string>

#include "support/TestSupport.h"

namespace tangor::test {

// The market's "njcon.a", or with `words` its "njtan.a" (6: mainland, 9: Taiwan).
inline std::string dictionaryPath(int countryCode, bool words) {
    const bool cn = countryCode == 6;
    return std::string(TANGOR_SYSROOT) + "/opt/hmi/data/ro/FEP/dic/utf16be/ZH/" +
           (!words ? (cn ? "CN/njcon.a" : "TW/njcon.a")
                   : (cn ? "CN/pinyin/njtan.a" : "TW/bopomofo/njtan.a"));
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

}  // namespace tangor::test
