#include <tangor/platform/normalize.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace tangor::test {

namespace {

constexpr unsigned kAll = ~0u;

// Normalises `length` bytes (all by default) of a heap copy of exactly `bytes`, with no terminator
// after them, so that a read past them shows under valgrind and AddressSanitizer. Checks the
// reported length and the terminator, and gives the text, or nothing for a null result.
std::optional<std::string> normalize(const std::string& bytes, unsigned length) {
    std::vector<char> copy(bytes.begin(), bytes.end());
    unsigned outLength = 12345;
    char* const result = normalize_utf8(
        copy.data(), length == kAll ? static_cast<unsigned>(bytes.size()) : length, &outLength);
    if (result == nullptr) {
        EXPECT_EQ(outLength, 0u);
        return std::nullopt;
    }
    EXPECT_EQ(result[outLength], '\0');
    std::string text(result, outLength);
    std::free(result);
    return text;
}

TEST(Normalize, FoldsWidthCaseAndKanaOfValidTextAndGivesNullForNullMalformedOrTooLongText) {
    const struct {
        std::string input;
        std::optional<std::string> output;
        unsigned length = kAll;  // bytes read
    } cases[] = {
        {"ＡＢＣ", "abc"},
        {"Straße", "strasse"},         // case folding, not lowering
        {"ｶﾀｶﾅ", "かたかな"},          // half-width katakana widen before they fold
        {"ｶﾞｷﾞﾊﾟ", "がぎぱ"},          // voiced marks compose
        {"ァヶヽヾ", "ぁゖゝゞ"},      // the first and last katakana folded, the iteration marks
        {"゠ヷー漢と", "゠ヷー漢と"},  // their neighbours without a hiragana, and other text, stay
        {std::string("a\0B", 3), std::string("a\0b", 3)},  // a NUL byte is a character
        {"\xE3\x81", std::nullopt},                        // truncated sequence
        {"\xC0\xAF", std::nullopt},                        // overlong '/'
        {"\xED\xA0\x80", std::nullopt},                    // surrogate
        {"ab\xFF", "ab", 2},  // the malformed byte lies past the length
        {"abc", "", 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(normalize(c.input, c.length), c.output) << testing::PrintToString(c.input);
    }
    EXPECT_EQ(normalize_utf8(nullptr, 3, nullptr), nullptr);
    char* const result = normalize_utf8("ＡＢ", 6, nullptr);  // the length is optional
    EXPECT_STREQ(result, "ab");
    std::free(result);
    // On the 32-bit target utf8proc would take such a length as negative, that is as an empty text.
    if (sizeof(long) == 4) {
        EXPECT_EQ(normalize_utf8("a", 0x80000000u, nullptr), nullptr);
    }
}

}  // namespace

}  // namespace tangor::test
