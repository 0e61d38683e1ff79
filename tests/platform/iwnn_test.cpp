#include "platform/iwnn/IwnnEngine.h"

#include <tangor/phonetic/phonetic.h>

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <tuple>

#include "platform/iwnn/DictionaryFormat.h"
#include "support/EngineWork.h"
#include "support/TestSupport.h"

namespace tangor::test {

namespace {

using corvina::iwnn::fnv1a32;
using Room = EngineWork::Room;

// iwnn_words.txt sorted: 0 abcdefghij, 1 京, 2 北, 3 北京, 4 北京大学, 5 月, 6 龙, 7 龙卷风; the
// pool holds each word and its reading in that order.
constexpr std::uint32_t kCount = 8;
constexpr std::uint32_t kPoolUnits = 72;
constexpr std::size_t kEntries = 16;
constexpr std::size_t kPool = kEntries + 8 * kCount;

std::string utf16(const std::u16string& text) {
    std::string bytes;
    for (const char16_t unit : text + u'\0') {
        bytes += static_cast<char>(unit >> 8);
        bytes += static_cast<char>(unit & 0xFF);
    }
    return bytes;
}

std::string repeat(const std::string& text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

const unsigned char* units(const std::string& bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

unsigned char* bytes(std::string& buffer) {
    return reinterpret_cast<unsigned char*>(&buffer[0]);
}

// What a 112-byte buffer filled with 0xA5 holds after `written` went to its start.
std::string padded(const std::string& written) {
    return written + std::string(112 - written.size(), '\xA5');
}

// Writes a big-endian field of 1, 2 or 4 bytes.
void setField(std::string& image, std::size_t at, int width, std::uint32_t value) {
    for (int i = width - 1; i >= 0; --i, value >>= 8) {
        image[at + i] = static_cast<char>(value & 0xFF);
    }
}

// "word:entry" per record, then "/" and the units consumed; "fails" when the split fails.
std::string split(IwnnWork* work, const std::string& text) {
    IwnnWord records[IWNN_MAX_WORDS];
    std::uint8_t consumed = 0;
    const int count = mmx_split_word(work, units(text), &consumed, records);
    std::string result = count < 0 ? "fails" : "";
    for (int k = 0; k < count; ++k) {
        char word[3 * 55 + 1];
        utf16be_to_utf8(records[k].text, word, records[k].length);
        result += std::string(word) + ":" + std::to_string(records[k].entry) + " ";
    }
    return count < 0 ? result : result + "/" + std::to_string(consumed);
}

class IwnnTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(makeDictionary(TANGOR_TEST_SOURCE_DIR "/platform/iwnn_words.txt",
                                   dir_.file("njcon.a"), dir_.file("njtan.a")));
        settings_ = readFile(dir_.file("njcon.a"));
        words_ = readFile(dir_.file("njtan.a"));
    }

    // Places the images and starts the engine; 0 when it accepted them.
    int start(const std::string& settings, const std::string& words, Room room = Room::Twice) {
        work_.place(settings, words, room);
        return njx_init(work_.get(), nullptr);
    }

    // The first record of splitting `text`, which stays in place as long as the test runs.
    IwnnWord wordOf(const std::u16string& text) {
        IwnnWord records[IWNN_MAX_WORDS] = {};
        std::uint8_t consumed = 0;
        EXPECT_GT(mmx_split_word(work_.get(), units(texts_.emplace_back(utf16(text))), &consumed,
                                 records),
                  0);
        return records[0];
    }

    TempDir dir_;
    std::string settings_;
    std::string words_;
    EngineWork work_;
    std::deque<std::string> texts_;
};

TEST_F(IwnnTest, SplitTakesTheLongestWordAndUnknownUnitsOneByOne) {
    ASSERT_EQ(start(settings_, words_), 0);
    std::u16string tenUnitWords;
    for (int i = 0; i < 30; ++i) {
        tenUnitWords += u"abcdefghij";
    }
    const std::pair<std::u16string, std::string> cases[] = {
        {u"北京大学生", "北京大学:4 生:-1 /5"},
        {u"北京大", "北京:3 大:-1 /3"},
        {u"京北京", "京:1 北京:3 /3"},
        {u"abcdefghijk", "abcdefghij:0 k:-1 /11"},
        {u"abcdefghi", "a:-1 b:-1 c:-1 d:-1 e:-1 f:-1 g:-1 h:-1 i:-1 /9"},
        {u"龙卷风", "龙卷风:7 /3"},
        {u"", "/0"},
        // At most 50 records, and never a word that would take the count past 255 units.
        {std::u16string(60, u'x'), repeat("x:-1 ", 50) + "/50"},
        {tenUnitWords, repeat("abcdefghij:0 ", 25) + "/250"},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(split(work_.get(), utf16(text)), expected);
    }
}

TEST_F(IwnnTest, ReadingIsCutToTheBufferButNeverInsideASurrogatePair) {
    ASSERT_EQ(start(settings_, words_), 0);
    const IwnnWord moon = wordOf(u"月");
    // The reading a😀b is four units: a, a high and a low surrogate, b.
    const std::pair<int, std::u16string> cases[] = {
        {112, u"a😀b"},
        {8, u"a😀"},
        {6, u"a"},
        {2, u""},
    };
    for (const auto& [size, expected] : cases) {
        std::string buffer(112, '\xA5');
        std::uint8_t flag = 7;
        EXPECT_EQ(mmx_get_yomi(work_.get(), &moon, bytes(buffer), size, &flag),
                  static_cast<int>(expected.size()));
        EXPECT_EQ(buffer, padded(utf16(expected))) << size;
        EXPECT_EQ(flag, 7);
    }
    const IwnnWord unknown = wordOf(u"生");
    std::string buffer(112, '\xA5');
    EXPECT_EQ(mmx_get_yomi(work_.get(), &unknown, bytes(buffer), 112, nullptr), 0);
    EXPECT_EQ(mmx_get_yomi(work_.get(), &moon, bytes(buffer), 1, nullptr), 0);
    EXPECT_EQ(buffer, padded(""));
}

TEST_F(IwnnTest, CandidateIsTheWholeWordWithinTheLimitAndTheBufferOrNothing) {
    // Rows: the candidate limit, the word, the buffer's size, the result.
    const std::tuple<int, std::u16string, int, int> cases[] = {
        {55, u"北京大学", 10, 4},
        {55, u"北京大学", 9, -1},
        {3, u"北京大学", 112, -1},
        {3, u"生", 4, 1},
    };
    for (const auto& [limit, word, size, expected] : cases) {
        std::string settings = settings_;
        setField(settings, 18, 2, limit);
        ASSERT_EQ(start(settings, words_), 0);
        const IwnnWord record = wordOf(word);
        std::string buffer(112, '\xA5');
        EXPECT_EQ(njx_get_candidate(work_.get(), &record, bytes(buffer), size), expected);
        EXPECT_EQ(buffer, padded(expected > 0 ? utf16(word) : "")) << expected;
    }
}

TEST_F(IwnnTest, CallsFailBeforeInitOnForeignRecordsAndAfterTheImagesChangeOrRunWithout) {
    work_.place(settings_, words_);
    EXPECT_EQ(split(work_.get(), utf16(u"北京")), "fails");
    ASSERT_EQ(njx_init(work_.get(), nullptr), 0);
    const IwnnWord good = wordOf(u"北京");
    IwnnDicSet& set = work_.get()->dicSet;
    void* const settings = set.buffers[IWNN_SETTINGS_BUFFER];
    // Records mmx_split_word could not have made.
    const IwnnWord foreign[] = {{good.text, good.length, kCount}, {good.text, 2, -1}};
    unsigned char buffer[112];
    for (const IwnnWord& record : foreign) {
        EXPECT_LT(mmx_get_yomi(work_.get(), &record, buffer, 112, nullptr), 0) << record.entry;
        EXPECT_LT(njx_get_candidate(work_.get(), &record, buffer, 112), 0) << record.entry;
    }
    set.buffers[IWNN_SETTINGS_BUFFER] = nullptr;
    EXPECT_EQ(split(work_.get(), utf16(u"北京")), "fails");
    set.buffers[IWNN_SETTINGS_BUFFER] = settings;
    set.table[0].image = set.buffers[0];
    EXPECT_EQ(split(work_.get(), utf16(u"北京")), "fails");
    set.table[0].image = const_cast<void*>(set.loaded.words);
    EXPECT_EQ(split(work_.get(), utf16(u"北京")), "北京:3 /2");
    EXPECT_LT(mmx_get_yomi(nullptr, &good, buffer, 112, nullptr), 0);

    // Without either image every unit is a word of its own, without a reading.
    work_.place(std::nullopt, std::nullopt);
    ASSERT_EQ(njx_init(work_.get(), nullptr), 0);
    const IwnnWord unknown = wordOf(u"北");
    EXPECT_EQ(split(work_.get(), utf16(u"北京")), "北:-1 京:-1 /2");
    EXPECT_EQ(mmx_get_yomi(work_.get(), &unknown, buffer, 112, nullptr), 0);
    EXPECT_EQ(njx_get_candidate(work_.get(), &unknown, buffer, 112), 1);
}

// Each row breaks one rule: it writes `value` into a field of `width` bytes (0: resizes the image
// to `value` bytes). The settings are made to match a changed words image's size and checksum, so
// that the row's own fault is the one found; the images get no room after them.
TEST_F(IwnnTest, MalformedImagesAreRefusedWithoutReadingPastThem) {
    struct Corruption {
        const char* what;
        bool inWords;
        std::size_t at;
        int width;
        std::uint32_t value;
    };
    const std::uint32_t size = 16 + 8 * kCount + 2 * kPoolUnits;
    auto entry = [](std::uint32_t e, std::size_t field) { return kEntries + 8 * e + field; };
    const Corruption rows[] = {
        {"words one byte short", true, 0, 0, size - 1},
        {"words shorter than their header", true, 0, 0, 15},
        {"words magic", true, 0, 1, 'X'},
        {"words version 2", true, 4, 2, 2},
        {"entry count one too large", true, 8, 4, kCount + 1},
        {"entry count whose bytes wrap in 32 bits", true, 8, 4, kCount + (1u << 29)},
        {"pool whose bytes wrap in 32 bits", true, 12, 4, kPoolUnits + (1u << 31)},
        {"offset past the pool", true, entry(7, 0), 4, kPoolUnits - 14},
        {"word of 0 units", true, entry(2, 4), 2, 0},
        {"word of 56 units", true, entry(4, 4), 2, 56},
        {"entries out of order: 月 before 北", true, entry(1, 0), 4, 47},
        {"duplicate word: 北 twice", true, entry(3, 4), 2, 1},
        {"zero unit in a reading", true, kPool + 2 * 19, 2, 0},
        {"settings header size 25", false, 6, 2, 25},
        {"checksum mismatch", false, 12, 4, 0},
        {"candidate limit 56", false, 18, 2, 56},
        {"word count one too small", false, 20, 4, kCount - 1},
        {"settings one byte short", false, 0, 0, 23},
    };
    ASSERT_EQ(words_.size(), size);
    ASSERT_EQ(start(settings_, words_, Room::Exact), 0) << "the unchanged pair";
    for (const Corruption& row : rows) {
        std::string words = words_;
        std::string settings = settings_;
        std::string& image = row.inWords ? words : settings;
        if (row.width == 0) {
            image.resize(row.value);
        } else {
            setField(image, row.at, row.width, row.value);
        }
        if (row.inWords) {
            setField(settings, 8, 4, static_cast<std::uint32_t>(words.size()));
            setField(settings, 12, 4, fnv1a32(units(words), words.size()));
        }
        EXPECT_LT(start(settings, words, Room::Exact), 0) << row.what;
        const IwnnDicSet& set = work_.get()->dicSet;
        EXPECT_TRUE(work_.get()->state == 0 && set.loaded.words == nullptr) << row.what;
        EXPECT_EQ(split(work_.get(), utf16(u"北京")), "fails") << row.what;
    }
    work_.place(settings_, std::nullopt);
    EXPECT_LT(njx_init(work_.get(), nullptr), 0) << "settings alone";
    work_.place(std::nullopt, words_);
    EXPECT_LT(njx_init(work_.get(), nullptr), 0) << "words alone";
    EXPECT_EQ(fnv1a32(units("a"), 1), 0xE40C292Cu) << "FNV-1a, 32 bits";
}

}  // namespace

}  // namespace tangor::test
