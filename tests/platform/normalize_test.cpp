#include <tangor/platform/normalize.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

// Normalises `bytes` from a heap copy of exactly their size with no terminator after them, so a
// read past `length` shows under valgrind and AddressSanitizer. Checks the terminator and the
// reported length, and gives the text, or nothing for a null result.
static std::optional<std::string> normalize(const std::string& bytes, unsigned length) {
    const auto copy = std::make_unique<char[]>(bytes.size());
    std::memcpy(copy.get(), bytes.data(), bytes.size());
    unsigned outLength = 12345;
    char* const result = normalize_utf8(copy.get(), length, &outLength);
    if (result == nullptr) {
        EXPECT_EQ(outLength, 0u);
        return std::nullopt;
    }
    EXPECT_EQ(result[outLength], '\0');
    std::string text(result, outLength);
    std::free(result);
    return text;
}

TEST(Normalize, FoldsWidthCaseAndKanaOfValidTextAndRejectsMalformedText) {
    const std::nullopt_t invalid = std::nullopt;
    const struct {
        std::string input;
        std::optional<std::string> output;
    } cases[] = {
        {"", ""},
        {"ＡＢＣ", "abc"},
        {"ｶﾀｶﾅ", "かたかな"},
        {"カタカナ", "かたかな"},
        {"ｶﾞｷﾞﾊﾟ", "がぎぱ"},
        {"カ\u3099", "が"},  // decomposed voiced mark composes first
        {"㍻", "平成"},
        {"①", "1"},
        {"ヿ", "こと"},  // katakana digraph
        {"Straße", "strasse"},
        {"ァ", "ぁ"},              // first katakana folded
        {"ヴヵヶ", "ゔゕゖ"},      // last ones folded
        {"ヽヾ", "ゝゞ"},          // iteration marks
        {"゠ヷー・", "゠ヷー・"},  // katakana without a hiragana stay
        {"漢字とひらがな", "漢字とひらがな"},
        {std::string("a\0B", 3), std::string("a\0b", 3)},  // a NUL byte is a character
        {"\xE3\x81", invalid},                             // truncated sequence
        {"a\x80", invalid},                                // lone continuation byte
        {"\xC0\xAF", invalid},                             // overlong '/'
        {"\xED\xA0\x80", invalid},                         // surrogate
    };
    for (const auto& [input, output] : cases) {
        EXPECT_EQ(normalize(input, static_cast<unsigned>(input.size())), output)
            << testing::PrintToString(input);
    }
}

TEST(Normalize, ReadsOnlyLengthBytes) {
    const struct {
        std::string input;
        unsigned length;
        std::optional<std::string> output;
    } cases[] = {
        {"ABCＤ", 3, "abc"},
        {"ab\xFF", 2, "ab"},        // the malformed byte lies past the length
        {"カタ", 4, std::nullopt},  // the length cuts ta in two
        {"abc", 0, ""},
    };
    for (const auto& [input, length, output] : cases) {
        EXPECT_EQ(normalize(input, length), output) << input << ", length " << length;
    }
}

TEST(Normalize, NullTextGivesNullAndLengthIsOptional) {
    unsigned outLength = 7;
    EXPECT_EQ(normalize_utf8(nullptr, 0, &outLength), nullptr);
    EXPECT_EQ(outLength, 0u);
    EXPECT_EQ(normalize_utf8(nullptr, 3, nullptr), nullptr);

    const std::unique_ptr<char, decltype(&std::free)> result(normalize_utf8("ＡＢ", 6, nullptr),
                                                             &std::free);
    ASSERT_NE(result, nullptr);
    EXPECT_STREQ(result.get(), "ab");
}

// On the 32-bit target utf8proc would take such a length as negative, that is as an empty text.
TEST(Normalize, LengthBeyondASignedSizeGivesNull) {
    if (sizeof(long) != 4) {
        GTEST_SKIP() << "only a 32-bit host has unsigned lengths beyond a signed size";
    }
    unsigned outLength = 7;
    EXPECT_EQ(normalize_utf8("a", 0x80000000u, &outLength), nullptr);
    EXPECT_EQ(outLength, 0u);
}
