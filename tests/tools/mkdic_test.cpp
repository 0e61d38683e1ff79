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
    // Rows: a line of the list and what the tool says of it (nothing for a good line).
    const std::pair<std::string, std::string> lines[] = {
        {"# comment", ""},
        {"北\tbei", ""},
        {"no tab", "no tab between word and reading"},
        {"a\tb\tc", "more than one tab"},
        {"\treading", "empty word"},
        {"word\t\r", "empty reading"},
        {"\xC0\xAF\toverlong slash", "invalid UTF-8 in the word"},
        {"x\t\xED\xA0\x80", "invalid UTF-8 in the reading"},  // a surrogate
        {repeat(kEmoji, 28) + "\tlong", "word longer than 55 UTF-16 units"},
        {"w\t" + repeat("r", 56), "reading longer than 55 UTF-16 units"},
        {"北\tbei again", "duplicate word, first on line 2"},
        {repeat("l", 5000) + "\tx", "line longer than 4096 bytes"},
        {std::string("n\0l\tx", 5), "NUL byte in the word"},
    };
    TempDir dir;
    const std::string list = dir.file("words.txt");
    std::string content;
    std::string expected;
    int number = 0;
    for (const auto& [line, reason] : lines) {
        content += line + "\n";
        ++number;
        expected +=
            reason.empty() ? "" : list + ":" + std::to_string(number) + ": " + reason + "\n";
    }
    writeFile(list, content);
    const ProgramResult result =
        runProgram({TANGOR_MKDIC, list, dir.file("njcon.a"), dir.file("njtan.a")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.standardError, expected);
    EXPECT_FALSE(exists(dir.file("njcon.a")) || exists(dir.file("njtan.a")));
}

TEST(Mkdic, WrongUsageAndFilesItCannotReadOrWrite) {
    TempDir dir;
    const std::string list = dir.file("words.txt");
    writeFile(list, "北\tbei\n");
    const std::string missing = dir.file("missing/x");
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{}, "usage: tangor-mkdic WORDLIST NJCON NJTAN\n"},
        {{missing, "a", "b"}, "cannot open " + missing + ": No such file or directory\n"},
        {{dir.path(), "a", "b"}, "cannot read " + dir.path() + ": Is a directory\n"},
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
