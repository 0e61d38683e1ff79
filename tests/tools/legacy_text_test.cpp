// The decision over one file's 8-bit texts and their decoding: a table of byte strings with the
// text they must give on every market, and the cases where the market decides. Arbitrary bytes are
// the legacy fuzzer's.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "LegacyText.h"

namespace tangor::test {

namespace {

using index::legacy::decode;
using index::legacy::decodePlaylist;
using index::legacy::decodeTexts;
using index::legacy::Encoding;
using index::legacy::iconvName;

constexpr unsigned kMarkets[] = {0, 5, 6, 9};

struct FileRow {
    const char* what;
    std::vector<std::string> bytes;     // one file's texts, as written
    std::vector<std::string> expected;  // in UTF-8
};

// Each row is one file; every market must read it so.
const std::vector<FileRow>& fileRows() {
    static const std::vector<FileRow> rows = {
        {"GBK",
         {"\xB1\xB1\xBE\xA9\xBB\xB6\xD3\xAD\xC4\xE3", "\xD6\xDC\xBD\xDC\xC2\xD7",
          "\xC6\xDF\xC0\xEF\xCF\xE3", "\xC1\xF7\xD0\xD0"},
         {"北京欢迎你", "周杰伦", "七里香", "流行"}},
        {"GBK, ASCII and CJK mixed",
         {"Beyond \xBA\xA3\xC0\xAB\xCC\xEC\xBF\xD5", "Beyond", "\xC0\xD6\xD3\xEB\xC5\xAD"},
         {"Beyond 海阔天空", "Beyond", "乐与怒"}},
        {"Big5, trail bytes in the ASCII range",
         {"\xA9P\xAAN\xAD\xDB",
          "\xA4"
          "C\xA8\xBD\xAD\xBB",
          "\xB4\xB8\xA4\xD1"},
         {"周杰倫", "七里香", "晴天"}},
        {"Big5, one character", {"\xB7R"}, {"愛"}},
        {"Big5, ASCII and CJK mixed",
         {"S.H.E \xA4\xA3\xB7Q\xAA\xF8\xA4j", "S.H.E", "\xB5\xD8\xAF\xC7"},
         {"S.H.E 不想長大", "S.H.E", "華納"}},
        {"Shift-JIS hiragana and kanji",
         {"\x82\xB3\x82\xAD\x82\xE7", "\x90X\x8ER\x92\xBC\x91\xBE\x98N", "\x89\xC4\x95\x9E"},
         {"さくら", "森山直太朗", "夏服"}},
        {"Shift-JIS katakana",
         {"\x83\x8F\x81[\x83\x8B\x83h", "\x93\x8C\x8B\x9E\x83o\x83\x93\x83h",
          "\x83\x89\x83"
          "C\x83u"},
         {"ワールド", "東京バンド", "ライブ"}},
        {"Shift-JIS, one kanji", {"\x8D\xF7"}, {"桜"}},
        {"Shift-JIS, a trail byte that is \\ in ASCII",
         {"B'z \x83"
          "E\x83\x8B\x83g\x83\x89\x83\\\x83"
          "E\x83\x8B",
          "B'z"},
         {"B'z ウルトラソウル", "B'z"}},
        {"Shift-JIS, with an ASCII field",
         {"\x89"
          "F\x91\xBD\x93"
          "c\x83q\x83J\x83\x8B",
          "\x8F\x89\x97\xF6", "First Love"},
         {"宇多田ヒカル", "初恋", "First Love"}},
        {"Latin-1 that is also valid GBK",
         {"Bj\xF6rk", "Homogenic", "J\xF3ga"},
         {"Björk", "Homogenic", "Jóga"}},
        {"Latin-1, two accents",
         {"M\xF6tley Cr\xFC"
          "e",
          "Dr. Feelgood"},
         {"Mötley Crüe", "Dr. Feelgood"}},
        {"Latin-1", {"F\xFCr Elise", "Beethoven"}, {"Für Elise", "Beethoven"}},
        {"Latin-1, an accent at the end of a word",
         {"Sigur R\xF3s", "\xC1g\xE6tis byrjun", "Svefn-g-englar"},
         {"Sigur Rós", "Ágætis byrjun", "Svefn-g-englar"}},
        {"Latin-1, an accent at the very end", {"Caf\xE9 del Mar"}, {"Café del Mar"}},
        {"Latin-1, an accented capital (valid Big5)",
         {"\xC9"
          "dith Piaf",
          "Non, je ne regrette rien"},
         {"Édith Piaf", "Non, je ne regrette rien"}},
        {"Latin-1, Swedish",
         {"H\xE5kan Hellstr\xF6m", "K\xE4nn ingen sorg f\xF6r mig G\xF6teborg"},
         {"Håkan Hellström", "Känn ingen sorg för mig Göteborg"}},
        {"windows-1252 punctuation inside a word",
         {"Don\x92t Stop Me Now", "Queen"},
         {"Don’t Stop Me Now", "Queen"}},
        {"Latin-1, a capital that reads as a frequent Big5 character",
         {"Die \xC4rzte", "Schrei nach Liebe"},
         {"Die Ärzte", "Schrei nach Liebe"}},
        {"Latin-1, Icelandic",
         {"\xD3lafur Arnalds", "\xDE\xFA ert j\xF6r\xF0in"},
         {"Ólafur Arnalds", "Þú ert jörðin"}},
        {"Latin-1, one byte alone (a lead byte everywhere)", {"\xD3"}, {"Ó"}},
        {"GBK, Latin letters next to ideographs",
         {"Jay\xD6\xDC\xBD\xDC\xC2\xD7", "\xB7\xB6\xCC\xD8\xCE\xF7"},
         {"Jay周杰伦", "范特西"}},
        {"Big5 with digits",
         {"\xBD\xB2\xA8\xCC\xAAL", "\xBBR\xC4]",
          "\xAC\xDD\xA7\xDA"
          "72\xC5\xDC"},
         {"蔡依林", "舞孃", "看我72變"}},
        {"Shift-JIS half-width katakana",
         {"\xCA\xDB\xB0 \xDC\xB0\xD9\xC4\xDE", "\xC3\xBD\xC4"},
         {"ﾊﾛｰ ﾜｰﾙﾄﾞ", "ﾃｽﾄ"}},
        {"Latin-1, a lone half-width kana in Shift-JIS",
         {"\xC0 bout de souffle"},
         {"À bout de souffle"}},
        {"GBK cut at 30 bytes inside a character",
         {"01 "
          "\xD4\xC2\xC1\xC1\xB4\xFA\xB1\xED\xCE\xD2\xB5\xC4\xD0\xC4\xD4\xC2\xC1\xC1\xB4\xFA\xB1\xED"
          "\xCE\xD2\xB5\xC4\xD0",
          "\xB5\xCB\xC0\xF6\xBE\xFD"},
         {"01 月亮代表我的心月亮代表我的", "邓丽君"}},
        {"Big5 cut at 30 bytes inside a character",
         {"01 "
          "\xA4\xEB\xABG\xA5N\xAA\xED\xA7\xDA\xAA\xBA\xA4\xDF\xA4\xEB\xABG\xA5N\xAA\xED\xA7\xDA\xAA"
          "\xBA\xA4",
          "\xBEH\xC4R\xA7g"},
         {"01 月亮代表我的心月亮代表我的", "鄧麗君"}},
        {"Shift-JIS cut at 30 bytes inside a character",
         {"01 "
          "\x96\xBC\x82\xE0\x82\xC8\x82\xAB\x8E\x8D\x96\xBC\x82\xE0\x82\xC8\x82\xAB\x8E\x8D\x96\xBC"
          "\x82\xE0\x82\xC8\x82",
          "Mr.Children"},
         {"01 名もなき詩名もなき詩名もな", "Mr.Children"}},
        {"UTF-8 in Latin-1 frames", {"\xE5\x8C\x97\xE4\xBA\xAC", "ABBA"}, {"北京", "ABBA"}},
    };
    return rows;
}

TEST(LegacyText, EachFileReadsRightOnEveryMarket) {
    for (const FileRow& row : fileRows()) {
        for (const unsigned market : kMarkets) {
            EXPECT_EQ(decodeTexts(row.bytes, market), row.expected)
                << row.what << ", market " << market;
        }
    }
}

// Bytes that read as frequent characters in more than one encoding go to the market's own.
TEST(LegacyText, TheMarketDecidesWhereTheBytesLeaveDoubt) {
    struct Row {
        unsigned market;
        std::string bytes;
        const char* expected;
    };
    const Row rows[] = {
        {6, "\xB0\xAB", "矮"},            // GBK
        {9, "\xB0\xAB", "鬥"},            // the same bytes in Big5
        {6, "\xC4\xE3\xBA\xC3", "你好"},  // GBK
        {0, "\xC4\xE3\xBA\xC3", "你好"},  // on a Western market too: no Western reading fits
    };
    for (const Row& row : rows) {
        EXPECT_EQ(decodeTexts({row.bytes}, row.market).front(), row.expected)
            << "market " << row.market;
    }
}

// No encoding reads them: each falls back to its Latin-1 reading, and the file's other texts
// are still decided without it.
TEST(LegacyText, InvalidBytesFallBackToLatin1) {
    const std::string invalidEverywhere = "A\x81\xFF";  // 0x81 is undefined in windows-1252
    const std::string latin1 = "A\xC2\x81\xC3\xBF";
    for (const unsigned market : kMarkets) {
        const std::vector<std::string> decoded =
            decodeTexts({invalidEverywhere, "\xD6\xDC\xBD\xDC\xC2\xD7"}, market);
        EXPECT_EQ(decoded[0], latin1) << "market " << market;
        EXPECT_EQ(decoded[1], "周杰伦") << "market " << market;
    }
    const std::pair<Encoding, std::string> rows[] = {
        {Encoding::Gb18030, "\x80\x41"},  // 0x80 is no GB18030 byte
        {Encoding::Big5, "\xA4\x20"},     // a space is no trail byte
        {Encoding::Cp932, "\x82\x20"},    // nor here
        {Encoding::Cp1252, "\x8D\x41"},   // undefined in windows-1252
    };
    for (const auto& [encoding, bytes] : rows) {
        EXPECT_EQ(decode(bytes, encoding), decode(bytes, Encoding::Latin1)) << iconvName(encoding);
    }
}

TEST(LegacyText, PlaylistsInLegacyEncodingsReadAsUtf8) {
    const std::string gbk =
        "#EXTM3U\n../\xC4\xE3\xBA\xC3/\xD2\xF4\xC0\xD6/01 \xB1\xB1\xBE\xA9.mp3\n";
    EXPECT_EQ(decodePlaylist(gbk, false, 6), "#EXTM3U\n../你好/音乐/01 北京.mp3\n");
    EXPECT_EQ(decodePlaylist(gbk, true, 6), gbk) << ".m3u8 is UTF-8 whatever its bytes";
    // Shift-JIS trail bytes may be "\\", which must not become a folder separator.
    EXPECT_EQ(decodePlaylist("\x83\\/\x95\\.mp3\n", false, 5), "ソ/表.mp3\n");
    const std::string utf8 = "../你好/音乐/01 北京.mp3\r\n";
    EXPECT_EQ(decodePlaylist(utf8, false, 0), utf8);
}

}  // namespace

}  // namespace tangor::test
