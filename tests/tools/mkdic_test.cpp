#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/TestSupport.h"

namespace tangor::test {

namespace {

TEST(Mkdic, ReportsEachFaultWritingNoFileAndSkipsCommentsEmptyLinesAndLineEnds) {
    // 55 UTF-16 units, the most a word may have, in 28 characters and 109 bytes.
    std::string longest = "a";
    for (int i = 0; i < 27; ++i) {
        longest += "\xF0\x9F\x98\x80";
    }
    // Rows: a line of the list and what the tool says of it (nothing for a good line).
    const std::pair<std::string, std::string> lines[] = {
        {"北\tbei", ""},
        {"no tab", "no tab between word and reading"},
        {"a\tb\tc", "weight not a decimal count up to 4294967295"},
        {"\treading", "empty word"},
        {"word\t\r", "empty reading"},
        {"\xC0\xAF\toverlong slash", "invalid UTF-8 in the word"},
        {"x\t\xED\xA0\x80", "invalid UTF-8 in the reading"},  // a surrogate
        {longest + "b\tlong", "word longer than 55 UTF-16 units"},
        {"w\t" + std::string(56, 'r'), "reading longer than 55 UTF-16 units"},
        {"北\tbei again", "duplicate word, first on line 1"},
        {std::string(5000, 'l') + "\tx", "line longer than 4096 bytes"},
        {std::string("n\0l\tx", 5), "NUL byte in the word"},
        // A weight makes the list a weighted one, whose readings are syllables.
        {"南\tnan\t12", ""},
        {"x\ty\t-1", "weight not a decimal count up to 4294967295"},
        {"x\ty\t4294967296", "weight not a decimal count up to 4294967295"},
        {"x\ty\t1\tfirst", "fourth field not \"start\""},
        {"x\ty\t1\tstart\tz", "more than four fields"},
        {"a\x01"
         "b\tc",
         "U+0001 in the word"},
        {"y\tbei  jing", "reading with an empty syllable"},
        {"曾\tzeng\t5\tstart", ""},  // not the same word as 曾 without the start
        {"曾\tceng", ""},
    };
    TempDir dir;
    const std::string bad = dir.file("bad");
    const std::string njcon = dir.file("njcon.a");
    const std::string njtan = dir.file("njtan.a");
    const std::string missing = dir.file("missing/njtan.a");
    std::string content;
    std::string reports;
    for (std::size_t i = 0; i < std::size(lines); ++i) {
        content += lines[i].first + "\n";
        if (!lines[i].second.empty()) {
            reports += bad + ":" + std::to_string(i + 1) + ": " + lines[i].second + "\n";
        }
    }
    writeFile(bad, content);
    // The same words, once plain and once with comments, empty lines, "\r\n" line ends and no line
    // end after the last line.
    writeFile(dir.file("plain"), "北京\tbeijing\n北\tbei\n" + longest + "\tlong\n月\tyue\n");
    writeFile(dir.file("messy"), "# a comment\r\n\r\n\n北京\tbeijing\r\n北\tbei\n#\tnot a word\n" +
                                     longest + "\tlong\r\n月\tyue");

    const std::string cannot = "tangor-mkdic: cannot ";
    const std::string noSuchFile = ": No such file or directory\n";
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{}, "usage: tangor-mkdic WORDLIST NJCON NJTAN\n"},
        {{missing, njcon, njtan}, cannot + "open " + missing + noSuchFile},
        {{dir.path(), njcon, njtan}, cannot + "read " + dir.path() + ": Is a directory\n"},
        {{bad, njcon, njtan}, reports},
        // The settings written first are removed again: a pair is written whole or not at all.
        {{dir.file("plain"), njcon, missing}, cannot + "write " + missing + noSuchFile},
    };
    for (const auto& [arguments, message] : cases) {
        std::vector<std::string> command{TANGOR_MKDIC};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const ProgramResult result = runProgram(command);
        EXPECT_EQ(result.status, arguments.empty() ? 2 : 1) << message;
        EXPECT_EQ(result.standardError, message);
        EXPECT_FALSE(exists(njcon) || exists(njtan)) << message;
    }
    for (const std::string list : {"plain", "messy"}) {
        ASSERT_TRUE(
            makeDictionary(dir.file(list), dir.file(list + ".con"), dir.file(list + ".tan")));
    }
    EXPECT_EQ(readFile(dir.file("messy.con")), readFile(dir.file("plain.con")));
    EXPECT_EQ(readFile(dir.file("messy.tan")), readFile(dir.file("plain.tan")));
}

// Weights become costs, -ln(share) in thousandths; a word without a weight in a weighted list
// weighs 1, as does a weight of 0.
TEST(Mkdic, WeightedListsMakeVersionTwoPairsWithCosts) {
    TempDir dir;
    writeFile(dir.file("list"), "a\tx\t3\nb\ty\nc\tz\t0\n");
    ASSERT_TRUE(makeDictionary(dir.file("list"), dir.file("con"), dir.file("tan")));
    const std::string words = readFile(dir.file("tan"));
    const std::string settings = readFile(dir.file("con"));
    const auto u16 = [](const std::string& image, std::size_t at) {
        return (static_cast<unsigned char>(image[at]) << 8) |
               static_cast<unsigned char>(image[at + 1]);
    };
    EXPECT_EQ(u16(words, 4), 2) << "words version";
    EXPECT_EQ(u16(settings, 4), 2) << "settings version";
    // Total weight 5: a costs -ln(3/5), b and c -ln(1/5).
    const int costs[] = {511, 1609, 1609};
    for (int entry = 0; entry < 3; ++entry) {
        EXPECT_EQ(u16(words, 16 + 10 * entry + 8), costs[entry]) << entry;
    }
}

}  // namespace

}  // namespace tangor::test
