#pragma once

// Dictionary pairs built by the dictionary tool from a word list and placed where init_lib looks
// for them, below the test build's fixed root.

#include <filesystem>
#include <string>

#include "support/TestSupport.h"

namespace tangor::test {

inline std::string dictionaryFolder(int countryCode) {
    return std::string(TANGOR_SYSROOT) + "/opt/hmi/data/ro/FEP/dic/utf16be/ZH/" +
           (countryCode == 6 ? "CN" : "TW");
}

inline std::string settingsPath(int countryCode) {
    return dictionaryFolder(countryCode) + "/njcon.a";
}

inline std::string wordsPath(int countryCode) {
    return dictionaryFolder(countryCode) + (countryCode == 6 ? "/pinyin" : "/bopomofo") +
           "/njtan.a";
}

// A word list kept beside the phonetic tests.
inline std::string phoneticTestList(const char* name) {
    return std::string(TANGOR_TEST_SOURCE_DIR) + "/phonetic/" + name;
}

inline void installDictionary(int countryCode, const std::string& wordList) {
    std::filesystem::create_directories(
        std::filesystem::path(wordsPath(countryCode)).parent_path());
    makeDictionary(wordList, settingsPath(countryCode), wordsPath(countryCode));
}

}  // namespace tangor::test
