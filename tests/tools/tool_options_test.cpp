// The command lines of tangor-mkdic and make-sample-library: --help and --version answer on
// standard output with status 0, wrong usage says so on standard error with status 2.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/TestSupport.h"

namespace tangor::test {

namespace {

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

TEST(ToolOptions, HelpVersionAndWrongUsageAnswerWithTheirStatusOnTheirStream) {
    TempDir dir;
    const std::string sampleDir = dir.file("library");
    const std::string mkdicUsage = "usage: tangor-mkdic WORDLIST NJCON NJTAN\n";
    const std::string sampleUsage = "usage: make-sample-library DIR [--files N] [--legacy-tags]\n";
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string standardOutputStart;
        std::string standardErrorEnd;
    } rows[] = {
        {{TANGOR_MKDIC, "--help"}, 0, mkdicUsage, ""},
        {{TANGOR_MKDIC, "--version"}, 0, "tangor-mkdic (tangor-common) " TANGOR_VERSION "\n", ""},
        // An option wins over the arguments of a build, which is not made.
        {{TANGOR_MKDIC, "words.txt", "--help", "njtan.a"}, 0, mkdicUsage, ""},
        {{TANGOR_MKDIC, "--frobnicate", "a", "b"}, 2, "", mkdicUsage},
        {{TANGOR_MKDIC}, 2, "", mkdicUsage},
        {{TANGOR_MAKE_SAMPLE_LIBRARY, "--help"}, 0, sampleUsage, ""},
        {{TANGOR_MAKE_SAMPLE_LIBRARY, "--version"},
         0,
         "make-sample-library (tangor-common) " TANGOR_VERSION "\n",
         ""},
        {{TANGOR_MAKE_SAMPLE_LIBRARY, sampleDir, "--files", "12", "--version"},
         0,
         "make-sample-library (tangor-common) " TANGOR_VERSION "\n",
         ""},
        {{TANGOR_MAKE_SAMPLE_LIBRARY, "--frobnicate"}, 2, "", sampleUsage},
        {{TANGOR_MAKE_SAMPLE_LIBRARY}, 2, "", sampleUsage},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.arguments.back());
        const tangor::test::ProgramResult result = runProgram(row.arguments);
        EXPECT_EQ(result.status, row.status);
        EXPECT_TRUE(startsWith(result.standardOutput, row.standardOutputStart))
            << result.standardOutput;
        if (row.standardOutputStart.empty()) {
            EXPECT_EQ(result.standardOutput, "");
        }
        const std::string& error = result.standardError;
        EXPECT_TRUE(error.size() >= row.standardErrorEnd.size() &&
                    error.compare(error.size() - row.standardErrorEnd.size(),
                                  row.standardErrorEnd.size(), row.standardErrorEnd) == 0)
            << error;
        if (row.standardErrorEnd.empty()) {
            EXPECT_EQ(error, "");
        }
    }
    EXPECT_FALSE(tangor::test::exists(sampleDir));
    EXPECT_FALSE(tangor::test::exists("njtan.a"));
}

}  // namespace

}  // namespace tangor::test
