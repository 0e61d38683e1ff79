// The dictionary pairs the build made from open data: known polyphones in context, names that
// begin with a surname read otherwise, both scripts on both markets, and the size the loader can
// hold.
#include <tangor/phonetic/phonetic.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "support/InstalledDictionaries.h"
#include "support/TestSupport.h"

namespace tangor::test {
namespace {

namespace fs = std::filesystem;

// The engine holds a words image in a buffer twice its size.
constexpr std::uintmax_t kMaxWordsBytes = 4 * 1024 * 1024;

class Dictionaries : public FixedPathsTest {
protected:
    void SetUp() override {
        FixedPathsTest::SetUp();
        for (const int code : {6, 9}) {
            fs::create_directories(fs::path(dictionaryPath(code, true)).parent_path());
            for (const bool words : {false, true}) {
                fs::copy_file(dictionaryPath(code, words, TANGOR_DICTIONARIES_DIR),
                              dictionaryPath(code, words), fs::copy_options::overwrite_existing);
            }
        }
    }
    void TearDown() override {
        free_dic(iWnn);
        FixedPathsTest::TearDown();
    }
};

// The golden readings of built-dictionaries.tsv.
std::vector<ReadingCase> goldenReadings() {
    std::vector<ReadingCase> cases;
    std::istringstream lines(readFile(phoneticTestList("built-dictionaries.tsv")));
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        const std::size_t first = line.find('\t');
        const std::size_t second = line.find('\t', first + 1);
        cases.push_back({std::atoi(line.substr(0, first).c_str()),
                         line.substr(first + 1, second - first - 1), line.substr(second + 1)});
    }
    return cases;
}

TEST_F(Dictionaries, ReadPolyphonesInContextNamesAndBothScripts) {
    const std::vector<ReadingCase> cases = goldenReadings();
    ASSERT_GE(cases.size(), 20u);
    expectReadings(cases);
}

TEST_F(Dictionaries, WordsFitTheLoadersBuffer) {
    for (const int code : {6, 9}) {
        EXPECT_LE(fs::file_size(dictionaryPath(code, true, TANGOR_DICTIONARIES_DIR)),
                  kMaxWordsBytes)
            << code;
    }
}

}  // namespace
}  // namespace tangor::test
