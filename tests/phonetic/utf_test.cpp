#include <tangor/phonetic/phonetic.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace tangor::test {

using Bytes = std::vector<unsigned char>;

// Runs the converter from UTF-`from` on `input` with the room its contract asks for, checks that
// nothing was written past the terminator, and gives the result and the output up to and
// including the terminator.
static std::pair<int, Bytes> convert(int from, Bytes input, int maxUnits) {
    input.insert(input.end(), {0, 0});
    Bytes out(maxUnits * (from == 8 ? 2 : 3) + 2 + 8, 0xA5);
    const int n =
        from == 8 ? utf8_to_utf16be(reinterpret_cast<char*>(input.data()), out.data(), maxUnits)
                  : utf16be_to_utf8(input.data(), reinterpret_cast<char*>(out.data()), maxUnits);
    // Bounded, so that a wrong count fails the test rather than running off the buffer.
    const auto end = out.begin() + std::min<std::size_t>(out.size(), from == 8 ? 2 * n + 2 : n + 1);
    EXPECT_EQ(std::count(end, out.end(), 0xA5), out.end() - end) << "written past the end";
    return {n, Bytes(out.begin(), end)};
}

TEST(Utf, ConvertersStopAtTheRoomTheTerminatorOrMalformedInputAndIgnoreNullBuffers) {
    // Rows: from UTF-8 or UTF-16, the input, the room in units, the result and the output.
    const std::tuple<int, Bytes, int, int, Bytes> cases[] = {
        {8, {0xC3, 0xA9}, 4, 1, {0x00, 0xE9, 0, 0}},  // two bytes
        {8, {'a', 0xE4, 0xB8, 0xAD, 'b'}, 3, 3, {0x00, 'a', 0x4E, 0x2D, 0x00, 'b', 0, 0}},
        {8, {'a', 'b', 'c'}, 2, 2, {0x00, 'a', 0x00, 'b', 0, 0}},  // cut at the room
        {8, {0xF0, 0x9F, 0x98, 0x80}, 2, 2, {0xD8, 0x3D, 0xDE, 0x00, 0, 0}},
        {8, {'x', 0xF0, 0x9F, 0x98, 0x80}, 2, 1, {0x00, 'x', 0, 0}},  // no room for the pair
        {8, {0xF0, 0x80, 0x80, 0x80}, 2, 2, {0xDB, 0xC0, 0xDC, 0x00, 0, 0}},  // overlong: 20 bits
        {8, {0x80, 'a'}, 4, 0, {0, 0}},  // a stray continuation byte
        {8, {'a', 0xF8, 0x88, 0x80, 0x80, 0x80}, 4, 1, {0x00, 'a', 0, 0}},  // a five-byte lead
        {8, {'a', 0xC3}, 4, 1, {0x00, 'a', 0, 0}},                          // truncated sequences
        {8, {0xE4, 0xB8}, 4, 0, {0, 0}},
        {8, {0xF0, 0x9F, 0x98}, 4, 0, {0, 0}},
        {16, {0x07, 0xFF}, 4, 2, {0xDF, 0xBF, 0}},  // the last two-byte character
        {16, {0x08, 0x00}, 4, 3, {0xE0, 0xA0, 0x80, 0}},
        {16, {0xD8, 0x3D, 0xDE, 0x00}, 2, 4, {0xF0, 0x9F, 0x98, 0x80, 0}},
        {16, {0x00, 'a', 0xD8, 0x3D, 0xDE, 0x00}, 2, 1, {'a', 0}},  // no room for the pair
        {16, {0xD8, 0x3D, 0x00, 'a'}, 4, 0, {0}},  // a high surrogate without its low one
        {16, {0xDB, 0xFF, 0xE0, 0x00}, 4, 0, {0}},
        {16, {0xDC, 0x00}, 4, 3, {0xED, 0xB0, 0x80, 0}},  // a lone low surrogate passes
        {16, {0x00, 'a', 0x00, 'b', 0x00, 'c'}, 2, 2, {'a', 'b', 0}},
        {16, {0x00, 'a', 0x00, 0x00, 0x00, 'c'}, 3, 1, {'a', 0}},  // the terminator ends it
    };
    for (const auto& [from, input, maxUnits, result, output] : cases) {
        EXPECT_EQ(convert(from, input, maxUnits), std::make_pair(result, output))
            << testing::PrintToString(input) << ", room " << maxUnits;
    }
    // Null buffers give 0 and nothing is written.
    unsigned char units[2] = {0xA5, 0xA5};
    char* const bytes = reinterpret_cast<char*>(units);
    EXPECT_EQ(utf8_to_utf16be(nullptr, units, 1) + utf8_to_utf16be("a", nullptr, 1), 0);
    EXPECT_EQ(utf16be_to_utf8(nullptr, bytes, 1) + utf16be_to_utf8(units, nullptr, 1), 0);
    EXPECT_EQ(units[0], 0xA5);
}

}  // namespace tangor::test
