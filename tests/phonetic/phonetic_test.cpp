#include <tangor/phonetic/phonetic.h>

#include <glib.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "phonetic/InstalledDictionaries.h"
#include "support/TestSupport.h"

namespace {

namespace fs = std::filesystem;
using tangor::test::FixedPathsTest;
using tangor::test::settingsPath;
using tangor::test::wordsPath;

std::string repeated(const std::string& text, int times, const std::string& separator = "") {
    std::string result;
    for (int i = 0; i < times; ++i) {
        result += (i > 0 ? separator : "") + text;
    }
    return result;
}

// The engine's work area is the process's one, so every case starts and ends with it released.
class Phonetic : public FixedPathsTest {
protected:
    void TearDown() override {
        free_dic(&iWnn);
        FixedPathsTest::TearDown();
    }

    static void install(int countryCode, const std::string& wordList) {
        tangor::test::installDictionary(countryCode, wordList);
    }
    void installWords(int countryCode, const std::string& lines) {
        const std::string list = scratch_.file("words.txt");
        tangor::test::writeFile(list, lines);
        install(countryCode, list);
    }
    // The reading of `text`, "<null>" for none; a non-empty reading is released here.
    static std::string readingOf(std::string text) {
        char* reading = transf_to_pinyin(text.data());
        if (reading == nullptr) {
            return "<null>";
        }
        std::string result = reading;
        if (!result.empty()) {
            std::free(reading);
        }
        return result;
    }

    tangor::test::TempDir scratch_;
};

struct ReadingCase {
    int countryCode;
    const char* text;
    const char* reading;
};

TEST_F(Phonetic, ReadingsJoinPerMarket) {
    install(6, tangor::test::phoneticTestList("pinyin-words.txt"));
    install(9, tangor::test::phoneticTestList("bopomofo-words.txt"));
    const ReadingCase cases[] = {
        {6, "北京", "BeiJing"},
        {6, "你好音乐", "NihaoYinyue"},
        {6, "矮", "ǎi"},              // first byte of a reading outside a to z is kept
        {6, "Hi 北,京!", "BeiJing"},  // units without an entry are left out
        {6, "Hello", ""},
        {6, "", "<null>"},
        {6, "\x80北京", "<null>"},          // nothing convertible at the start
        {9, "x台灣北", "ㄊㄞˊㄨㄢ ㄅㄟˇ"},  // no space before the first reading
    };
    for (const ReadingCase& c : cases) {
        SCOPED_TRACE(std::string(c.text) + " on market " + std::to_string(c.countryCode));
        init_lib(&iWnn, c.countryCode);
        EXPECT_EQ(readingOf(c.text), c.reading);
        free_dic(&iWnn);
    }
}

TEST_F(Phonetic, OneTrailingCarriageReturnThenOneLineFeedAreCutInPlace) {
    install(6, tangor::test::phoneticTestList("pinyin-words.txt"));
    init_lib(&iWnn, 6);
    const std::pair<const char*, const char*> cases[] = {
        {"北京\n", "北京"},     {"北京\r", "北京"},     {"北京\n\r", "北京"},
        {"北京\r\n", "北京\r"}, {"北京\n\n", "北京\n"}, {"\r", ""},
    };
    for (const auto& [text, left] : cases) {
        std::string input = text;
        char* reading = transf_to_pinyin(input.data());
        EXPECT_STREQ(input.c_str(), left) << "for " << text;
        if (reading != nullptr && reading[0] != 0) {
            EXPECT_STREQ(reading, "BeiJing");
            std::free(reading);
        }
    }
}

// 60 characters: only 55 are read, over two splits of at most 50 words, joined as one reading.
TEST_F(Phonetic, LongTextsReadTheirFirst55UnitsAcrossSplits) {
    install(6, tangor::test::phoneticTestList("pinyin-words.txt"));
    install(9, tangor::test::phoneticTestList("bopomofo-words.txt"));
    init_lib(&iWnn, 6);
    EXPECT_EQ(readingOf(repeated("北", 60)), repeated("Bei", 55));
    free_dic(&iWnn);
    init_lib(&iWnn, 9);
    EXPECT_EQ(readingOf(repeated("北", 60)), repeated("ㄅㄟˇ", 55, " "));
}

// A reading of 30 three-byte characters fills the 58-byte word buffer with its first 19; 17 such
// words with their spaces fill the 1,024-byte result, and the 18th would not fit.
TEST_F(Phonetic, ReadingsAreCutToTheirBuffersAtCharacterBoundaries) {
    installWords(9, "长\t" + repeated("ㄅ", 30) + "\n");
    init_lib(&iWnn, 9);
    EXPECT_EQ(readingOf("长"), repeated("ㄅ", 19));
    EXPECT_EQ(readingOf(repeated("长", 30)), repeated(repeated("ㄅ", 19), 17, " "));
}

// With a candidate limit of one unit, the two-unit word ends the split: 北 after it is not read.
TEST_F(Phonetic, AWordWithoutCandidateEndsTheSplit) {
    installWords(6, "北\tbei\n京\tjing\n北京\tbeijing\n");
    std::fstream settings(settingsPath(6), std::ios::in | std::ios::out | std::ios::binary);
    settings.seekp(18);
    settings.write("\0\1", 2);
    settings.close();
    init_lib(&iWnn, 6);
    EXPECT_EQ(readingOf("京北京北"), "Jing");
}

TEST_F(Phonetic, AnEngineThatRefusedTheDictionariesGivesTheConstantEmptyReading) {
    install(6, tangor::test::phoneticTestList("pinyin-words.txt"));
    fs::resize_file(wordsPath(6), fs::file_size(wordsPath(6)) - 1);
    init_lib(&iWnn, 6);
    std::string first = "北京";
    std::string second = "北京";
    char* reading = transf_to_pinyin(first.data());
    ASSERT_NE(reading, nullptr);
    EXPECT_STREQ(reading, "");
    EXPECT_EQ(transf_to_pinyin(second.data()), reading);
}

enum class File { Present, Missing, Empty };

struct LoadCase {
    const char* what;
    int countryCode;
    File settings;
    File words;
    std::vector<std::string> missing;  // paths reported, in order, below the fixed root
    bool unableToSet;
};

std::vector<std::string>* capturedMessages = nullptr;

void captureMessage(const gchar*, GLogLevelFlags, const gchar* message, gpointer) {
    capturedMessages->push_back(message);
}

void prepare(const std::string& path, File file) {
    if (file == File::Missing) {
        fs::remove(path);
    } else if (file == File::Empty) {
        fs::resize_file(path, 0);
    }
}

TEST_F(Phonetic, InitLibReportsEachFileThatCannotBeLoadedThenGivesUp) {
    const std::string cn = "/opt/hmi/data/ro/FEP/dic/utf16be/ZH/CN/";
    const std::string tw = "/opt/hmi/data/ro/FEP/dic/utf16be/ZH/TW/";
    const LoadCase cases[] = {
        {"second file missing", 6, File::Present, File::Missing, {cn + "pinyin/njtan.a"}, true},
        {"both missing",
         9,
         File::Missing,
         File::Missing,
         {tw + "njcon.a", tw + "bopomofo/njtan.a"},
         true},
        {"first file empty", 6, File::Empty, File::Present, {}, true},
        {"no dictionaries for the market", 5, File::Missing, File::Missing, {}, false},
    };
    for (const LoadCase& c : cases) {
        SCOPED_TRACE(c.what);
        tangor::test::removeTree(root() + "/opt");
        install(c.countryCode, tangor::test::phoneticTestList("bopomofo-words.txt"));
        prepare(settingsPath(c.countryCode), c.settings);
        prepare(wordsPath(c.countryCode), c.words);
        std::vector<std::string> messages;
        capturedMessages = &messages;
        const guint handler =
            g_log_set_handler(nullptr, G_LOG_LEVEL_MESSAGE, captureMessage, nullptr);
        testing::internal::CaptureStderr();
        init_lib(&iWnn, c.countryCode);
        const std::string errors = testing::internal::GetCapturedStderr();
        g_log_remove_handler(nullptr, handler);

        std::string expected;
        for (const std::string& path : c.missing) {
            expected += "Input File " + root() + path + " file Cannot Open\n";
        }
        EXPECT_EQ(errors, expected);
        EXPECT_EQ(messages, c.unableToSet ? std::vector<std::string>{"Unable to set dic params"}
                                          : std::vector<std::string>{});
        EXPECT_EQ(iWnn.state != 0, !c.unableToSet) << "engine started";
        // What was loaded stays in the work area until free_dic.
        const bool dictionaries = c.countryCode == 6 || c.countryCode == 9;
        EXPECT_EQ(iWnn.dicSet.buffers[IWNN_SETTINGS_BUFFER] != nullptr,
                  dictionaries && c.settings != File::Missing);
        EXPECT_EQ(iWnn.dicSet.table[0].image != nullptr, dictionaries && c.words != File::Missing);
        EXPECT_NE(iWnn.dicSet.table[0].area, nullptr);
        free_dic(&iWnn);
    }
}

TEST_F(Phonetic, FreeDicReleasesEverySlotButOwnedImagesAndLeavesThemNull) {
    install(6, tangor::test::phoneticTestList("pinyin-words.txt"));
    init_lib(iWnn, 6);
    IwnnDicSet& set = iWnn.dicSet;
    void* owned = set.table[0].image;
    void* ownedCompanion = std::malloc(8);
    set.table[0].ownership = 1;
    set.table[0].companion = ownedCompanion;
    set.table[3].image = std::malloc(8);
    set.table[3].companion = std::malloc(8);
    set.table[19].buffers[1] = std::malloc(8);
    set.buffers[0] = std::malloc(8);
    EXPECT_NE(iWnn.engineBuffer, nullptr) << "the engine's own memory";

    free_dic(iWnn);
    free_dic(iWnn);  // finds only null slots
    EXPECT_EQ(set.table[0].ownership, 0);
    EXPECT_EQ(set.table[0].image, nullptr);
    EXPECT_EQ(set.table[0].companion, ownedCompanion);
    EXPECT_EQ(set.table[0].area, nullptr);
    EXPECT_EQ(set.table[3].image, nullptr);
    EXPECT_EQ(set.table[3].companion, nullptr);
    EXPECT_EQ(set.table[19].buffers[1], nullptr);
    EXPECT_EQ(set.buffers[0], nullptr);
    EXPECT_EQ(set.buffers[IWNN_SETTINGS_BUFFER], nullptr);
    EXPECT_EQ(iWnn.engineBuffer, nullptr);
    // Still the owner's: a release by free_dic would make these a double free.
    std::free(owned);
    std::free(ownedCompanion);
}

}  // namespace
