#include "platform/iwnn/IwnnEngine.h"

#include <tangor/phonetic/phonetic.h>

#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "platform/iwnn/DictionaryFormat.h"
#include "support/EngineWork.h"
#include "support/TestSupport.h"

namespace tangor::test {

namespace {

using corvina::iwnn::fnv1a32;
using corvina::iwnn::writeU16;
using corvina::iwnn::writeU32;
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

const unsigned char* units(const std::string& bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

void setU16(std::string& image, std::size_t at, std::uint16_t value) {
    writeU16(reinterpret_cast<unsigned char*>(&image[at]), value);
}

void setU32(std::string& image, std::size_t at, std::uint32_t value) {
    writeU32(reinterpret_cast<unsigned char*>(&image[at]), value);
}

struct Split {
    int count = 0;
    int consumed = 0;
    std::string words;  // "word:entry" per record, space-separated
};

Split split(IwnnWork* work, const std::string& text) {
    std::vector<IwnnWord> records(IWNN_MAX_WORDS);
    std::uint8_t consumed = 0;
    Split result;
    result.count = mmx_split_word(work, units(text), &consumed, records.data());
    result.consumed = consumed;
    for (int k = 0; k < result.count; ++k) {
        char word[3 * 55 + 1];
        utf16be_to_utf8(records[k].text, word, records[k].length);
        result.words += (k ? " " : "") + std::string(word) + ":" + std::to_string(records[k].entry);
    }
    return result;
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
        const std::string& units16 = texts_.emplace_back(utf16(text));
        std::vector<IwnnWord> records(IWNN_MAX_WORDS);
        std::uint8_t consumed = 0;
        EXPECT_GT(mmx_split_word(work_.get(), units(units16), &consumed, records.data()), 0);
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
    const std::pair<std::u16string, std::string> cases[] = {
        {u"北京大学生", "北京大学:4 生:-1"},
        {u"北京大", "北京:3 大:-1"},
        {u"北大", "北:2 大:-1"},
        {u"京北京", "京:1 北京:3"},
        {u"abcdefghijk", "abcdefghij:0 k:-1"},
        {u"abcdefghi", "a:-1 b:-1 c:-1 d:-1 e:-1 f:-1 g:-1 h:-1 i:-1"},
        {u"龙卷风", "龙卷风:7"},
        {u"龙卷", "龙:6 卷:-1"},
        {u"", ""},
    };
    for (const auto& [text, expected] : cases) {
        const Split result = split(work_.get(), utf16(text));
        EXPECT_EQ(result.words, expected);
        EXPECT_EQ(result.consumed, static_cast<int>(text.size())) << expected;
    }
    EXPECT_EQ(nj_strlen(units(utf16(u"北京大学生"))), 5);
    EXPECT_EQ(nj_strlen(nullptr), 0);
}

TEST_F(IwnnTest, SplitStopsAtFiftyRecordsOrBeforeAWordWouldPass255Units) {
    ASSERT_EQ(start(settings_, words_), 0);
    std::u16string tenUnitWords;
    for (int i = 0; i < 30; ++i) {
        tenUnitWords += u"abcdefghij";
    }
    const Split fifty = split(work_.get(), utf16(std::u16string(60, u'x')));
    const Split twentyFive = split(work_.get(), utf16(tenUnitWords));
    EXPECT_EQ(std::make_pair(fifty.count, fifty.consumed), std::make_pair(50, 50));
    EXPECT_EQ(std::make_pair(twentyFive.count, twentyFive.consumed), std::make_pair(25, 250));
}

TEST_F(IwnnTest, ReadingIsCutToTheBufferButNeverInsideASurrogatePair) {
    ASSERT_EQ(start(settings_, words_), 0);
    const IwnnWord moon = wordOf(u"月");
    // The reading a😀b is four units: a, a high and a low surrogate, b.
    const std::pair<int, std::u16string> cases[] = {
        {112, u"a😀b"}, {10, u"a😀b"}, {8, u"a😀"}, {6, u"a"}, {4, u"a"}, {2, u""},
    };
    for (const auto& [size, expected] : cases) {
        std::string buffer(112, '\xA5');
        std::uint8_t flag = 7;
        const int n = mmx_get_yomi(work_.get(), &moon, reinterpret_cast<unsigned char*>(&buffer[0]),
                                   size, &flag);
        const std::string written = utf16(expected);
        EXPECT_EQ(n, static_cast<int>(expected.size())) << size;
        EXPECT_EQ(buffer, written + std::string(112 - written.size(), '\xA5')) << size;
        EXPECT_EQ(flag, 7);
    }
    const IwnnWord unknown = wordOf(u"生");
    unsigned char buffer[112] = {0xA5};
    EXPECT_EQ(mmx_get_yomi(work_.get(), &unknown, buffer, 112, nullptr), 0);
    EXPECT_EQ(mmx_get_yomi(work_.get(), &moon, buffer, 1, nullptr), 0);
    EXPECT_EQ(buffer[0], 0xA5);
}

TEST_F(IwnnTest, CandidateIsTheWholeWordWithinTheLimitOrFails) {
    std::string limited = settings_;
    setU16(limited, 18, 3);  // the candidate limit
    ASSERT_EQ(start(limited, words_), 0);
    const IwnnWord pair = wordOf(u"北京");
    const IwnnWord four = wordOf(u"北京大学");
    const IwnnWord unknown = wordOf(u"生");
    unsigned char buffer[112];
    EXPECT_EQ(njx_get_candidate(work_.get(), &four, buffer, sizeof buffer), -1);
    EXPECT_EQ(njx_get_candidate(work_.get(), &pair, buffer, 5), -1);
    EXPECT_EQ(njx_get_candidate(work_.get(), &pair, buffer, 6), 2);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), 6), utf16(u"北京"));
    EXPECT_EQ(njx_get_candidate(work_.get(), &unknown, buffer, sizeof buffer), 1);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), 4), utf16(u"生"));

    ASSERT_EQ(start(settings_, words_), 0);
    const IwnnWord whole = wordOf(u"北京大学");
    EXPECT_EQ(njx_get_candidate(work_.get(), &whole, buffer, 9), -1);
    EXPECT_EQ(njx_get_candidate(work_.get(), &whole, buffer, 10), 4);
}

TEST_F(IwnnTest, CallsFailBeforeInitOnForeignRecordsAndAfterTheImagesChange) {
    work_.place(settings_, words_);
    const std::string text = utf16(u"北京");
    EXPECT_LT(split(work_.get(), text).count, 0);
    ASSERT_EQ(njx_init(work_.get(), nullptr), 0);
    const IwnnWord good = wordOf(u"北京");
    const IwnnWord records[] = {
        {good.text, good.length, kCount},    // past the last entry
        {good.text, 1, good.entry},          // not the entry's length
        {good.text, 2, -1},                  // an unknown word is one unit
        {nullptr, good.length, good.entry},  // no text
    };
    unsigned char buffer[112];
    for (const IwnnWord& record : records) {
        EXPECT_LT(mmx_get_yomi(work_.get(), &record, buffer, 112, nullptr), 0) << record.entry;
        EXPECT_LT(njx_get_candidate(work_.get(), &record, buffer, 112), 0) << record.entry;
    }
    std::uint8_t consumed = 0;
    EXPECT_LT(mmx_split_word(work_.get(), units(text), &consumed, nullptr), 0);
    EXPECT_LT(mmx_get_yomi(nullptr, &good, buffer, 112, nullptr), 0);

    // The loader frees or replaces the images: the engine no longer trusts them.
    void* image = work_.get()->dicSet.table[0].image;
    work_.get()->dicSet.table[0].image = nullptr;
    EXPECT_LT(split(work_.get(), text).count, 0);
    EXPECT_LT(mmx_get_yomi(work_.get(), &good, buffer, 112, nullptr), 0);
    EXPECT_LT(njx_get_candidate(work_.get(), &good, buffer, 112), 0);
    work_.get()->dicSet.table[0].image = image;
    std::swap(work_.get()->dicSet.buffers[0], work_.get()->dicSet.buffers[IWNN_SETTINGS_BUFFER]);
    EXPECT_LT(split(work_.get(), text).count, 0);
    std::swap(work_.get()->dicSet.buffers[0], work_.get()->dicSet.buffers[IWNN_SETTINGS_BUFFER]);
}

TEST_F(IwnnTest, WithoutImagesEveryUnitIsAWordWithoutReading) {
    work_.place(std::nullopt, std::nullopt);
    ASSERT_EQ(njx_init(work_.get(), nullptr), 0);
    EXPECT_EQ(split(work_.get(), utf16(u"北京")).words, "北:-1 京:-1");
    const IwnnWord unknown = wordOf(u"北");
    unsigned char buffer[112];
    EXPECT_EQ(mmx_get_yomi(work_.get(), &unknown, buffer, 112, nullptr), 0);
    EXPECT_EQ(njx_get_candidate(work_.get(), &unknown, buffer, 112), 1);
}

// Each row breaks one rule; the checksum and size in the settings are made to match a changed
// words image, so that the row's own fault is the one found.
TEST_F(IwnnTest, MalformedImagesAreRefusedWithoutReadingPastThem) {
    using Change = std::function<void(std::string&)>;
    struct Corruption {
        const char* what;
        Change words;
        Change settings;
    };
    auto entry = [](int e, std::size_t field) { return kEntries + 8 * e + field; };
    const Corruption rows[] = {
        {"words one byte short", [](std::string& w) { w.pop_back(); }, {}},
        {"words one byte long", [](std::string& w) { w.push_back('\0'); }, {}},
        {"words shorter than the header", [](std::string& w) { w.resize(15); }, {}},
        {"words magic", [](std::string& w) { w[0] = 'X'; }, {}},
        {"words version 2", [](std::string& w) { setU16(w, 4, 2); }, {}},
        {"reserved field not 0", [](std::string& w) { setU16(w, 6, 1); }, {}},
        {"count one too large", [](std::string& w) { setU32(w, 8, kCount + 1); },
         [](std::string& s) { setU32(s, 20, kCount + 1); }},
        {"count whose entry bytes wrap in 32 bits",
         [](std::string& w) { setU32(w, 8, kCount + (1u << 29)); },
         [](std::string& s) { setU32(s, 20, kCount + (1u << 29)); }},
        {"pool whose bytes wrap in 32 bits",
         [](std::string& w) { setU32(w, 12, kPoolUnits + (1u << 31)); },
         {}},
        {"offset past the pool",
         [&](std::string& w) { setU32(w, entry(7, 0), kPoolUnits - 14); },
         {}},
        {"offset that wraps in 32 bits", [&](std::string& w) { setU32(w, entry(7, 0), ~0u); }, {}},
        {"word of 0 units", [&](std::string& w) { setU16(w, entry(2, 4), 0); }, {}},
        {"word of 56 units", [&](std::string& w) { setU16(w, entry(4, 4), 56); }, {}},
        {"reading of 0 units", [&](std::string& w) { setU16(w, entry(2, 6), 0); }, {}},
        {"reading of 56 units", [&](std::string& w) { setU16(w, entry(4, 6), 56); }, {}},
        {"entries out of order",
         [&](std::string& w) {
             std::swap_ranges(&w[entry(1, 0)], &w[entry(2, 0)], &w[entry(2, 0)]);
         },
         {}},
        {"duplicate word",
         [&](std::string& w) { w.replace(entry(3, 0), 8, w, entry(2, 0), 8); },
         {}},
        {"zero unit in a word", [](std::string& w) { setU16(w, kPool, 0); }, {}},
        {"zero unit in a reading", [](std::string& w) { setU16(w, kPool + 2 * 19, 0); }, {}},
        {"settings magic", {}, [](std::string& s) { s[3] = 'X'; }},
        {"settings version 2", {}, [](std::string& s) { setU16(s, 4, 2); }},
        {"settings header size 25", {}, [](std::string& s) { setU16(s, 6, 25); }},
        {"words size one too large",
         {},
         [](std::string& s) { setU32(s, 8, 16 + 8 * kCount + 2 * kPoolUnits + 1); }},
        {"checksum mismatch", {}, [](std::string& s) { s[15] ^= 1; }},
        {"longest word 3", {}, [](std::string& s) { setU16(s, 16, 3); }},
        {"candidate limit 0", {}, [](std::string& s) { setU16(s, 18, 0); }},
        {"candidate limit 56", {}, [](std::string& s) { setU16(s, 18, 56); }},
        {"word count 5", {}, [](std::string& s) { setU32(s, 20, kCount - 1); }},
        {"settings one byte short", {}, [](std::string& s) { s.pop_back(); }},
        {"settings one byte long", {}, [](std::string& s) { s.push_back('\0'); }},
    };
    ASSERT_EQ(words_.size(), 16 + 8 * kCount + 2 * kPoolUnits);
    ASSERT_EQ(start(settings_, words_, Room::Exact), 0) << "the unchanged pair";
    for (const Corruption& row : rows) {
        std::string words = words_;
        std::string settings = settings_;
        if (row.words) {
            row.words(words);
            setU32(settings, 8, static_cast<std::uint32_t>(words.size()));
            setU32(settings, 12, fnv1a32(units(words), words.size()));
        }
        if (row.settings) {
            row.settings(settings);
        }
        EXPECT_LT(start(settings, words, Room::Exact), 0) << row.what;
        const IwnnDicSet& set = work_.get()->dicSet;
        EXPECT_EQ(work_.get()->state, 0u) << row.what;
        EXPECT_TRUE(set.loaded.words == nullptr && set.loaded.wordCount == 0) << row.what;
        EXPECT_LT(split(work_.get(), utf16(u"北京")).count, 0) << row.what;
    }
    work_.place(settings_, std::nullopt);
    EXPECT_LT(njx_init(work_.get(), nullptr), 0) << "settings alone";
    work_.place(std::nullopt, words_);
    EXPECT_LT(njx_init(work_.get(), nullptr), 0) << "words alone";
    EXPECT_EQ(fnv1a32(units("a"), 1), 0xE40C292Cu) << "FNV-1a, 32 bits";
}

}  // namespace

}  // namespace tangor::test
