#include <tangor/phonetic/phonetic.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/iwnn/IwnnEngine.h"
#include "support/EngineWork.h"
#include "support/TestSupport.h"

namespace tangor::test {

namespace {

std::string repeat(const std::string& text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

const std::string kEmoji = "\xF0\x9F\x98\x80";  // two UTF-16 units

TEST(Mkdic, EveryBadLineIsReportedWithItsNumberAndNoFileIsWritten) {
    TempDir dir;
    const std::string list = dir.file("words.txt");
    writeFile(list,
              "# comment\n"
              "北\tbei\n"
              "no tab\n"
              "a\tb\tc\n"
              "\treading\n"
              "word\t\r\n"
              "\xC0\xAF\toverlong slash\n"
              "x\t\xED\xA0\x80\n"
              "y\t\xE4\xB8\n"
              "z\t\x80\n" +
                  repeat(kEmoji, 28) + "\ttoo long\n" + "w\t" + repeat("r", 56) + "\n" +
                  "北\tbei again\n" + repeat("l", 5000) + "\tx\n" + std::string("n\0l\tx\n", 6));
    const ProgramResult result =
        runProgram({TANGOR_MKDIC, list, dir.file("njcon.a"), dir.file("njtan.a")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.standardError, list + ":3: no tab between word and reading\n" +    //
                                        list + ":4: more than one tab\n" +              //
                                        list + ":5: empty word\n" +                     //
                                        list + ":6: empty reading\n" +                  //
                                        list + ":7: invalid UTF-8 in the word\n" +      //
                                        list + ":8: invalid UTF-8 in the reading\n" +   //
                                        list + ":9: invalid UTF-8 in the reading\n" +   //
                                        list + ":10: invalid UTF-8 in the reading\n" +  //
                                        list + ":11: word longer than 55 UTF-16 units\n" + list +
                                        ":12: reading longer than 55 UTF-16 units\n" + list +
                                        ":13: duplicate word, first on line 2\n" + list +
                                        ":14: line longer than 4096 bytes\n" + list +
                                        ":15: NUL byte in the word\n");
    EXPECT_FALSE(exists(dir.file("njcon.a")) || exists(dir.file("njtan.a")));
}

TEST(Mkdic, WrongUsageAndFilesItCannotReadOrWrite) {
    TempDir dir;
    const std::string list = dir.file("words.txt");
    writeFile(list, "北\tbei\n");
    const std::string missing = dir.file("missing/x");
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{}, "usage: tangor-mkdic WORDLIST NJCON NJTAN\n"},
        {{list, "a", "b", "c"}, "usage: tangor-mkdic WORDLIST NJCON NJTAN\n"},
        {{missing, "a", "b"}, "cannot open " + missing + ": No such file or directory\n"},
        {{dir.path(), "a", "b"}, "cannot read " + dir.path() + ": Is a directory\n"},
        {{list, missing, dir.file("njtan.a")},
         "cannot write " + missing + ": No such file or directory\n"},
        {{list, dir.file("njcon.a"), missing},
         "cannot write " + missing + ": No such file or directory\n"},
    };
    for (const auto& [arguments, message] : cases) {
        std::vector<std::string> command{TANGOR_MKDIC};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const ProgramResult result = runProgram(command);
        const bool usage = message.rfind("usage", 0) == 0;
        EXPECT_EQ(result.status, usage ? 2 : 1) << message;
        EXPECT_EQ(result.standardError, (usage ? "" : "tangor-mkdic: ") + message);
        // A pair is written whole or not at all.
        EXPECT_FALSE(exists(dir.file("njcon.a")) || exists(dir.file("njtan.a"))) << message;
    }
}

TEST(Mkdic, SkippedLinesAndLineEndsLeaveTheListTheEngineReads) {
    const std::string longest = repeat(kEmoji, 27) + "a";  // 55 units
    const std::vector<std::pair<std::string, std::string>> words = {
        {"北京", "beijing"},
        {"北", "bei"},
        {longest, "long"},
        {"月", "yue"},
    };
    TempDir dir;
    // The last line has no line end.
    writeFile(dir.file("words.txt"),
              "# a comment\r\n\r\n\n北京\tbeijing\r\n北\tbei\n#\tnot a word\n" + longest +
                  "\tlong\r\n月\tyue");
    ASSERT_TRUE(makeDictionary(dir.file("words.txt"), dir.file("njcon.a"), dir.file("njtan.a")));
    EngineWork work;
    work.place(readFile(dir.file("njcon.a")), readFile(dir.file("njtan.a")));
    ASSERT_EQ(njx_init(work.get(), nullptr), 0);
    EXPECT_EQ(work.get()->dicSet.loaded.wordCount, words.size());
    for (const auto& [word, reading] : words) {
        unsigned char text[2 * 56];
        const int length = utf8_to_utf16be(word.c_str(), text, 55);
        IwnnWord records[IWNN_MAX_WORDS];
        std::uint8_t consumed = 0;
        ASSERT_EQ(mmx_split_word(work.get(), text, &consumed, records), 1) << word;
        unsigned char yomi[112];
        unsigned char candidate[112];
        char utf8[3 * 55 + 1];
        ASSERT_GT(mmx_get_yomi(work.get(), &records[0], yomi, sizeof yomi, nullptr), 0) << word;
        utf16be_to_utf8(yomi, utf8, 55);
        EXPECT_EQ(utf8, reading);
        EXPECT_EQ(njx_get_candidate(work.get(), &records[0], candidate, sizeof candidate), length);
    }
}

}  // namespace

}  // namespace tangor::test
