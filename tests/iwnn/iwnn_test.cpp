#include "iwnn/IwnnEngine.h"

#include <tangor/phonetic/phonetic.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <deque>
#include <string>
#include <tuple>

#include "iwnn/DictionaryFormat.h"
#include "support/TestSupport.h"

namespace tangor::test {

namespace {

// iwnn_words.txt sorted: 0 abcdefghij, 1 京, 2 北, 3 北京, 4 北京大学, 5 月, 6 龙, 7 龙卷风; the
// pool holds each word and its reading in that order.
constexpr std::uint32_t kCount = 8;
constexpr std::uint32_t kPoolUnits = 72;

// The UTF-16BE bytes of `text` and its terminator.
std::string utf16(const std::u16string& text) {
    std::string bytes;
    for (const char16_t unit : text + u'\0') {
        bytes += {static_cast<char>(unit >> 8), static_cast<char>(unit & 0xFF)};
    }
    return bytes;
}

// Writes a big-endian field of 1, 2 or 4 bytes; with width 0 resizes the image to `value` bytes.
void setField(std::string& image, std::size_t at, int width, std::uint32_t value) {
    if (width == 0) {
        image.resize(value);
    }
    for (int i = width - 1; i >= 0; --i, value >>= 8) {
        image[at + i] = static_cast<char>(value & 0xFF);
    }
}

// One broken rule: `value` written into a field of `width` bytes (0: the image resized to `value`
// bytes).
struct Fault {
    const char* what;
    bool inWords;
    std::size_t at;
    int width;
    std::uint32_t value;
    std::uint16_t longest;  // the settings' longest word after the change
};

class IwnnTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(makeDictionary(TANGOR_TEST_SOURCE_DIR "/iwnn/iwnn_words.txt",
                                   dir_.file("njcon.a"), dir_.file("njtan.a")));
        settings_ = readFile(dir_.file("njcon.a"));
        words_ = readFile(dir_.file("njtan.a"));
    }
    void TearDown() override { free_dic(work_); }

    static unsigned char* bytes(std::string& text) {
        return reinterpret_cast<unsigned char*>(text.data());
    }

    // Fills the work area as the library's loader does, but with no room after an image, so that
    // valgrind and AddressSanitizer see any read past it (a missing image stays null), then starts
    // the engine; 0 when it accepted the images.
    int start(const std::string* settings, const std::string* words) {
        free_dic(work_);
        work_ = IwnnWork{};
        IwnnDicSet& set = work_.dicSet;
        set.buffers[IWNN_SETTINGS_BUFFER] = copy(settings, set.bufferSizes[IWNN_SETTINGS_BUFFER]);
        set.table[0].image = copy(words, set.table[0].imageSize);
        return njx_init(&work_, nullptr);
    }
    static void* copy(const std::string* image, std::uint32_t& size) {
        size = image ? image->size() : 0;
        return image ? std::memcpy(std::malloc(size), image->data(), size) : nullptr;
    }

    // The pair with `fault` in it is refused. The settings are made to match a changed words
    // image's size, checksum and longest word, so that the row's own fault is the one found. The
    // images get no room after them.
    void expectRefused(const std::string& originalWords, const std::string& originalSettings,
                       const Fault& fault) {
        std::string words = originalWords;
        std::string settings = originalSettings;
        setField(fault.inWords ? words : settings, fault.at, fault.width, fault.value);
        if (fault.inWords) {
            setField(settings, 8, 4, static_cast<std::uint32_t>(words.size()));
            setField(settings, 12, 4,
                     corvina::iwnn::wordsChecksum(corvina::iwnn::readU16(bytes(words) + 4),
                                                  bytes(words), words.size()));
            setField(settings, 16, 2, fault.longest);
        }
        EXPECT_LT(start(&settings, &words), 0) << fault.what;
    }

    // "word:entry" per record, then "/" and the units consumed; "fails" when the split fails. The
    // records stay in records_ and their texts in place as long as the test runs.
    std::string split(const std::u16string& text) {
        std::uint8_t consumed = 0;
        const int count =
            mmx_split_word(&work_, bytes(texts_.emplace_back(utf16(text))), &consumed, records_);
        std::string result = count < 0 ? "fails" : "";
        for (int k = 0; k < count; ++k) {
            char word[3 * 55 + 1];
            utf16be_to_utf8(records_[k].text, word, records_[k].length);
            result += std::string(word) + ":" + std::to_string(records_[k].entry) + " ";
        }
        return count < 0 ? result : result + "/" + std::to_string(consumed);
    }

    TempDir dir_;
    std::string settings_;
    std::string words_;
    IwnnWork work_{};
    std::deque<std::string> texts_;
    IwnnWord records_[IWNN_MAX_WORDS] = {};
};

TEST_F(IwnnTest, SplitTakesTheLongestWordsAndReadingAndCandidateFitTheBuffer) {
    ASSERT_EQ(start(&settings_, &words_), 0);
    const std::pair<std::u16string, std::string> splits[] = {
        {u"北京大学生", "北京大学:4 生:-1 /5"},
        {u"北京大", "北京:3 大:-1 /3"},  // the start of a longer word is not one
        {u"龙卷风", "龙卷风:7 /3"},      // 龙's reading follows it in the pool, unmatched
        {u"", "/0"},
        // At most 50 records, and never a word that would take the count past 255 units.
        {std::u16string(60, u'。'), repeat<std::string>("。:-1 ", 50) + "/50"},
        {repeat<std::u16string>(u"abcdefghij", 30),
         repeat<std::string>("abcdefghij:0 ", 25) + "abcde:-2 /255"},
        // Latin letters and digits go by runs of at most 55, which read beside dictionary words
        // only.
        {u"北Ab1 京", "北:2 Ab1:-2  :-1 京:1 /6"},
        {u"Ab1 ｘ", "Ab1:-1  :-1 ｘ:-1 /5"},
        {std::u16string(60, u'x'), std::string(55, 'x') + ":-1 xxxxx:-1 /60"},
    };
    for (const auto& [text, expected] : splits) {
        EXPECT_EQ(split(text), expected);
    }

    // Rows: the call, the word, the buffer's size, the result and what is written (null: nothing).
    // The reading of 月, a😀b, is a, a high and a low surrogate, b. A word over the candidate
    // limit is checked through the library, in phonetic_test.
    const std::tuple<std::string, std::u16string, int, int, const char16_t*> calls[] = {
        {"yomi", u"月", 112, 4, u"a😀b"},
        {"yomi", u"月", 8, 3, u"a😀"},
        {"yomi", u"月", 6, 1, u"a"},  // never inside a surrogate pair
        {"yomi", u"月", 2, 0, u""},
        {"yomi", u"月", 1, 0, nullptr},
        {"yomi", u"生", 112, 0, nullptr},  // an unknown unit has no reading
        {"candidate", u"北京大学", 10, 4, u"北京大学"},
        {"candidate", u"北京大学", 9, -1, nullptr},
        {"candidate", u"生", 4, 1, u"生"},  // an unknown unit is its own candidate
    };
    std::uint8_t flag = 7;  // the stand-in leaves it alone
    for (const auto& [call, word, size, result, written] : calls) {
        split(word);
        std::string buffer(112, '\xA5');
        EXPECT_EQ(call == "yomi" ? mmx_get_yomi(&work_, records_, bytes(buffer), size, &flag)
                                 : njx_get_candidate(&work_, records_, bytes(buffer), size),
                  result)
            << call << " of " << size << " bytes";
        std::string expected = written ? utf16(written) : "";
        expected.resize(112, '\xA5');
        EXPECT_EQ(buffer, expected) << call << " of " << size << " bytes";
    }
    EXPECT_EQ(flag, 7);
}

TEST_F(IwnnTest, CallsFailBeforeInitOnForeignRecordsAndAfterTheImagesChangeOrRunWithout) {
    EXPECT_EQ(split(u"北京"), "fails");
    ASSERT_EQ(start(&settings_, &words_), 0);
    split(u"北京");
    const IwnnWord good = records_[0];
    IwnnDicSet& set = work_.dicSet;
    void* const settings = set.buffers[IWNN_SETTINGS_BUFFER];
    // Records mmx_split_word could not have made.
    const IwnnWord foreign[] = {{good.text, good.length, -1, kCount}, {good.text, 0, -1, -1}};
    unsigned char buffer[112];
    for (const IwnnWord& record : foreign) {
        EXPECT_LT(mmx_get_yomi(&work_, &record, buffer, 112, nullptr), 0) << record.entry;
        EXPECT_LT(njx_get_candidate(&work_, &record, buffer, 112), 0) << record.entry;
    }
    // A syllable the entry does not have.
    const IwnnWord noSuchSyllable{good.text, 1, 5, good.entry};
    EXPECT_LT(mmx_get_yomi(&work_, &noSuchSyllable, buffer, 112, nullptr), 0);
    set.buffers[IWNN_SETTINGS_BUFFER] = nullptr;
    EXPECT_EQ(split(u"北京"), "fails");
    set.buffers[IWNN_SETTINGS_BUFFER] = settings;
    set.table[0].image = nullptr;
    EXPECT_EQ(split(u"北京"), "fails");
    set.table[0].image = const_cast<void*>(set.loaded.words);
    EXPECT_EQ(split(u"北京"), "北京:3 /2");
    EXPECT_LT(mmx_get_yomi(nullptr, &good, buffer, 112, nullptr), 0);
    // A start that fails stops the engine that ran.
    set.bufferSizes[IWNN_SETTINGS_BUFFER] -= 1;
    EXPECT_LT(njx_init(&work_, nullptr), 0);
    EXPECT_EQ(split(u"北京"), "fails");

    // Without either image every unit is a word of its own, without a reading.
    ASSERT_EQ(start(nullptr, nullptr), 0);
    EXPECT_EQ(split(u"北京"), "北:-1 京:-1 /2");
    EXPECT_EQ(mmx_get_yomi(&work_, records_, buffer, 112, nullptr), 0);
    EXPECT_EQ(njx_get_candidate(&work_, records_, buffer, 112), 1);
}

TEST_F(IwnnTest, MalformedImagesAreRefusedWithoutReadingPastThem) {
    const Fault rows[] = {
        {"words shorter than their header", true, 0, 0, 15, 10},
        {"words magic", true, 0, 1, 'X', 10},
        {"words version 3", true, 4, 2, 3, 10},
        {"words version 2 beside settings version 1", true, 4, 2, 2, 10},
        {"entry count one too large", true, 8, 4, kCount + 1, 10},
        {"entry count whose bytes wrap in 32 bits", true, 8, 4, kCount + (1u << 29), 10},
        {"pool whose bytes wrap in 32 bits", true, 12, 4, kPoolUnits + (1u << 31), 10},
        {"龙卷风's reading one unit past the pool", true, 16 + 8 * 7 + 6, 2, 13, 10},
        {"abcdefghij of 0 units", true, 16 + 4, 2, 0, 4},
        {"abcdefghij of 56 units", true, 16 + 4, 2, 56, 56},
        {"entries out of order: 月 before 北", true, 16 + 8 * 1, 4, 47, 10},
        {"duplicate word: 北 twice", true, 16 + 8 * 3 + 4, 2, 1, 10},
        {"zero unit in a reading", true, 16 + 8 * kCount + 2 * 19, 2, 0, 10},
        {"settings header size 25", false, 6, 2, 25, 10},
        {"checksum mismatch", false, 12, 4, 0, 10},
        {"candidate limit 56", false, 18, 2, 56, 10},
        {"word count one too small", false, 20, 4, kCount - 1, 10},
        {"settings one byte short", false, 0, 0, 23, 10},
    };
    ASSERT_EQ(start(&settings_, &words_), 0) << "the unchanged pair";
    for (const Fault& row : rows) {
        expectRefused(words_, settings_, row);
    }
    EXPECT_LT(start(&settings_, nullptr), 0) << "settings alone";
    EXPECT_LT(start(nullptr, &words_), 0) << "words alone";
    EXPECT_EQ(corvina::iwnn::fnv1a32(reinterpret_cast<const unsigned char*>("a"), 1), 0xE40C292Cu)
        << "FNV-1a";
}

// iwnn_weighted_words.txt sorted: 0 the start word 曾 (0x0001 曾), 1 京, 2 北, 3 北京; 10 bytes an
// entry, the pool at byte 56: ^曾zeng at unit 0, 京jing at 6, 北bei at 11, 北京bei jing at 15.
TEST_F(IwnnTest, MalformedWeightedImagesAreRefusedWithoutReadingPastThem) {
    ASSERT_TRUE(makeDictionary(TANGOR_TEST_SOURCE_DIR "/iwnn/iwnn_weighted_words.txt",
                               dir_.file("v2.con"), dir_.file("v2.tan")));
    const std::string settings = readFile(dir_.file("v2.con"));
    const std::string words = readFile(dir_.file("v2.tan"));
    constexpr std::size_t kPool = 56;
    const Fault rows[] = {
        {"words version 1 beside settings version 2", true, 4, 2, 1, 2},
        {"one byte short", true, 0, 0, static_cast<std::uint32_t>(words.size() - 1), 2},
        {"entry count one too large", true, 8, 4, 5, 2},
        {"the start unit inside a word", true, kPool + 2 * 16, 2, 0x0001, 2},
        {"a start word of the start unit alone", true, 16 + 4, 2, 1, 2},
        {"a reading that begins with a space", true, kPool + 2 * 12, 2, ' ', 2},
        {"a reading that ends in a space", true, kPool + 2 * 10, 2, ' ', 2},
        {"two spaces in a row", true, kPool + 2 * 19, 2, ' ', 2},
        {"settings version 1", false, 4, 2, 1, 2},
    };
    ASSERT_EQ(start(&settings, &words), 0) << "the unchanged pair";
    EXPECT_EQ(split(u"北京曾"), "北:3 京:3 曾:-1 /3");  // 北京 one record per syllable
    for (const Fault& row : rows) {
        expectRefused(words, settings, row);
    }
}

}  // namespace

}  // namespace tangor::test
