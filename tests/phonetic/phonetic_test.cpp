#include <tangor/phonetic/phonetic.h>

#include <glib.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "support/InstalledDictionaries.h"
#include "support/TestSupport.h"

namespace tangor::test {
namespace {

// The engine's work area is the process's one, so every case ends with it released.
class Phonetic : public FixedPathsTest {
protected:
    void SetUp() override {
        FixedPathsTest::SetUp();
        installDictionary(6, phoneticTestList("pinyin-words.txt"));
        installDictionary(9, phoneticTestList("bopomofo-words.txt"));
    }
    void TearDown() override {
        free_dic(iWnn);
        FixedPathsTest::TearDown();
    }
};

TEST_F(Phonetic, ReadingsPerMarketWithinTheirBuffersAndLineEndsCutInPlace) {
    // What a 58-byte word buffer keeps of 长's 30.
    const std::string cut = repeat<std::string>("ㄅ", 19);
    const struct {
        int countryCode;
        std::string text;
        std::string reading;
        const char* left = nullptr;  // what is left of the input, when it is cut
    } cases[] = {
        {6, "矮", "ǎi"},                      // a first byte outside a to z is kept
        {9, "。台灣北", "ㄊㄞˊㄨㄢ ㄅㄟˇ"},   // no reading for 。, no space before the first
        {9, "x台灣北", "x ㄊㄞˊㄨㄢ ㄅㄟˇ"},  // Latin letters keep their place
        // Only 55 of 60 units are read, over two splits of at most 50 words, joined as one.
        {9, repeat<std::string>("北", 60), repeat<std::string>("ㄅㄟˇ", 55, " ")},
        {9, repeat<std::string>("一", 55), "ㄧ"},  // the longest word allowed is read whole
        // 17 cut readings with their spaces fill the 1,024-byte result; the 18th would not fit.
        {9, "长", cut},
        {9, repeat<std::string>("长", 30), repeat<std::string>(cut, 17, " ")},
        // Capitalised readings joined without spaces; one trailing CR, then one LF, are cut.
        {6, "北京\n", "BeiJing", "北京"},
        {6, "北京\n\r", "BeiJing", "北京"},
        {6, "北京\r\n", "BeiJing", "北京\r"},
        {6, "北京\n\n", "BeiJing", "北京\n"},
        {6, "\r", "<null>", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text + " on market " + std::to_string(c.countryCode));
        init_lib(iWnn, c.countryCode);
        std::string input = c.text;
        EXPECT_EQ(readingOf(input), c.reading);
        EXPECT_STREQ(input.c_str(), c.left ? c.left : c.text.c_str());
        free_dic(iWnn);
    }
    EXPECT_EQ(transf_to_pinyin(nullptr), nullptr);
}

// A weighted dictionary: the split of the greatest total weight over the whole text, readings
// syllable by syllable, start words only at the start, Latin words beside dictionary words only.
TEST_F(Phonetic, WeightedDictionariesReadEachTextInItsContext) {
    installDictionary(6, phoneticTestList("pinyin-weighted.txt"));
    installDictionary(9, phoneticTestList("bopomofo-weighted.txt"));
    expectReadings({
        {6, "长大", "ZhangDa"},
        {6, "长城", "ChangCheng"},
        {6, "长城长大", "ChangChengZhangDa"},
        {6, "的确实", "DeQueShi"},
        {6, "曾经", "CengJing"},  // a word beats the start word
        {6, "曾志伟", "ZengZhiWei"},
        {6, "曾志", "ZengZhi"},
        {6, "志曾", "ZhiCeng"},            // a start word holds at the start only
        {6, "曾志伟志", "CengZhiWeiZhi"},  // and before one or two characters only, as in a name
        {6, "海阔天空", "HaiKuoTianKong"},
        {6, "一点儿", "Yidianr"},
        {6, "Beyond 海阔天空", "BeyondHaiKuoTianKong"},
        {6, "Ｂ2 长城", "B2ChangCheng"},
        {6, "Hello World", ""},  // no dictionary word: no reading at all
        {9, "長大的長城", "ㄓㄤˇ ㄉㄚˋ ˙ㄉㄜ ㄔㄤˊ ㄔㄥˊ"},
        {9, "Live 長城", "live ㄔㄤˊ ㄔㄥˊ"},
    });
}

// With a candidate limit of one unit, 你好 has no candidate and ends the split: 京 after it is
// lost.
TEST_F(Phonetic, AWordWithoutCandidateEndsTheSplit) {
    std::string settings = readFile(dictionaryPath(6, false));
    settings.replace(18, 2, std::string("\0\1", 2));
    writeFile(dictionaryPath(6, false), settings);
    init_lib(iWnn, 6);
    std::string text = "京你好京";
    EXPECT_EQ(readingOf(text), "Jing");
}

TEST_F(Phonetic, InitLibReportsEachFileThatCannotBeLoadedThenGivesUpReadingNothing) {
    const std::string zh = root() + "/opt/hmi/data/ro/FEP/dic/utf16be/ZH/";
    const struct {
        const char* what;
        int countryCode;
        std::vector<std::string> missing;  // each is reported
        bool emptySettings;
        bool started;
        const char* held;  // what the work area holds until free_dic
    } cases[] = {
        {"second file missing", 6, {"CN/pinyin/njtan.a"}, false, false, "settings area"},
        {"first file empty", 6, {}, true, false, "settings words area"},
        {"no dictionaries for the market", 5, {}, false, true, "area"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        installDictionary(c.countryCode, phoneticTestList("bopomofo-words.txt"));
        std::string expected;
        for (const std::string& name : c.missing) {
            std::filesystem::remove(zh + name);
            expected += "Input File " + zh + name + " file Cannot Open\n";
        }
        if (c.emptySettings) {
            std::filesystem::resize_file(dictionaryPath(c.countryCode, false), 0);
        }
        std::vector<std::string> messages;
        const guint handler = g_log_set_handler(
            nullptr, G_LOG_LEVEL_MESSAGE,
            [](const gchar*, GLogLevelFlags, const gchar* message, gpointer into) {
                static_cast<std::vector<std::string>*>(into)->push_back(message);
            },
            &messages);
        testing::internal::CaptureStderr();
        init_lib(iWnn, c.countryCode);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), expected);
        g_log_remove_handler(nullptr, handler);
        EXPECT_EQ(messages,
                  std::vector<std::string>(c.started ? 0 : 1, "Unable to set dic params"));
        EXPECT_EQ(iWnn.state != 0, c.started);
        const IwnnDicSet& set = iWnn.dicSet;
        EXPECT_EQ(std::string(set.buffers[IWNN_SETTINGS_BUFFER] ? "settings " : "") +
                      (set.table[0].image ? "words " : "") + (set.table[0].area ? "area" : ""),
                  c.held);
        // Nothing is read, stopped or not: every text gets the one constant empty reading.
        std::string text = "北京";
        char* const reading = transf_to_pinyin(text.data());
        EXPECT_STREQ(reading, "");
        EXPECT_EQ(transf_to_pinyin(text.data()), reading);
        free_dic(iWnn);
    }
}

TEST_F(Phonetic, FreeDicReleasesEverySlotButOwnedImagesAndLeavesThemNull) {
    init_lib(iWnn, 6);
    IwnnDicSet& set = iWnn.dicSet;
    void* const owned = set.table[0].image;
    void* const ownedCompanion = std::malloc(8);
    set.table[0].ownership = 1;
    set.table[0].companion = ownedCompanion;
    set.table[3].image = std::malloc(8);
    set.table[3].companion = std::malloc(8);
    set.table[19].buffers[1] = std::malloc(8);
    EXPECT_NE(iWnn.engineBuffer, nullptr) << "the engine's own memory";

    free_dic(iWnn);
    free_dic(iWnn);  // finds only null slots
    EXPECT_EQ(set.table[0].ownership, 0);
    EXPECT_EQ(set.table[0].companion, ownedCompanion);
    const IwnnDicEntry* const t = set.table;
    const std::vector<const void*> slots = {t[0].image,       t[0].area,
                                            t[3].image,       t[3].companion,
                                            t[19].buffers[1], set.buffers[IWNN_SETTINGS_BUFFER],
                                            iWnn.engineBuffer};
    EXPECT_EQ(slots, std::vector<const void*>(slots.size(), nullptr));
    // Still the owner's: a release by free_dic would make these a double free.
    std::free(owned);
    std::free(ownedCompanion);
}

}  // namespace
}  // namespace tangor::test
