#include <tangor/phonetic/phonetic.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

constexpr unsigned char kGuard = 0xA5;

struct Converted {
    int result;
    Bytes output;  // what was written, terminator included
};

// Gives the converter exactly the room its contract asks for, and checks that it wrote nothing
// past the terminator.
Converted toUtf16(const Bytes& utf8, int maxUnits) {
    std::string text(utf8.begin(), utf8.end());
    const std::size_t room = 2 * static_cast<std::size_t>(maxUnits > 0 ? maxUnits : 0) + 2;
    Bytes dst(room + 8, kGuard);
    const int result = utf8_to_utf16be(text.c_str(), dst.data(), maxUnits);
    const std::size_t used = 2 * static_cast<std::size_t>(result) + 2;
    for (std::size_t i = used; i < dst.size(); ++i) {
        EXPECT_EQ(dst[i], kGuard) << "byte " << i << " written past the terminator";
    }
    return {result, Bytes(dst.begin(), dst.begin() + used)};
}

Converted toUtf8(Bytes utf16, int maxUnits) {
    utf16.push_back(0);
    utf16.push_back(0);
    const std::size_t room = 3 * static_cast<std::size_t>(maxUnits > 0 ? maxUnits : 0) + 1;
    std::vector<char> dst(room + 8, static_cast<char>(kGuard));
    const int result = utf16be_to_utf8(utf16.data(), dst.data(), maxUnits);
    const std::size_t used = static_cast<std::size_t>(result) + 1;
    for (std::size_t i = used; i < dst.size(); ++i) {
        EXPECT_EQ(static_cast<unsigned char>(dst[i]), kGuard) << "byte " << i << " written late";
    }
    return {result, Bytes(dst.begin(), dst.begin() + used)};
}

struct Utf8Case {
    const char* what;
    Bytes input;
    int maxUnits;
    int result;
    Bytes output;
};

TEST(Utf8ToUtf16be, Table) {
    const std::vector<Utf8Case> cases = {
        {"one ASCII letter, high byte first", {'A'}, 10, 1, {0x00, 0x41, 0, 0}},
        {"empty text", {}, 10, 0, {0, 0}},
        {"no room at all", {'A'}, 0, 0, {0, 0}},
        {"negative room", {'A'}, -3, 0, {0, 0}},
        {"two-byte sequence", {0xC3, 0xA9}, 4, 1, {0x00, 0xE9, 0, 0}},
        {"three-byte sequence", {0xE4, 0xB8, 0xAD}, 4, 1, {0x4E, 0x2D, 0, 0}},
        {"exactly maxUnits characters",
         {'a', 0xE4, 0xB8, 0xAD, 'b'},
         3,
         3,
         {0x00, 'a', 0x4E, 0x2D, 0x00, 'b', 0, 0}},
        {"cut at maxUnits", {'a', 'b', 'c'}, 2, 2, {0x00, 'a', 0x00, 'b', 0, 0}},
        {"four-byte sequence as a surrogate pair",
         {0xF0, 0x9F, 0x98, 0x80},
         2,
         2,
         {0xD8, 0x3D, 0xDE, 0x00, 0, 0}},
        {"four-byte sequence with one unit of room left",
         {'x', 0xF0, 0x9F, 0x98, 0x80},
         2,
         1,
         {0x00, 'x', 0, 0}},
        {"four-byte value below 0x10000 keeps the low 20 bits",
         {0xF0, 0x80, 0x80, 0x80},
         2,
         2,
         {0xDB, 0xC0, 0xDC, 0x00, 0, 0}},
        {"overlong form passed on as computed",
         {0xC0, 0x80, 'z'},
         4,
         2,
         {0x00, 0x00, 0x00, 'z', 0, 0}},
        {"continuation bits taken as they are", {0xC3, 0x29}, 4, 1, {0x00, 0xE9, 0, 0}},
        {"stray continuation byte first", {0x80, 'a'}, 4, 0, {0, 0}},
        {"lead byte 0xF8 and above", {'a', 0xF8, 0x88, 0x80, 0x80, 0x80}, 4, 1, {0x00, 'a', 0, 0}},
        {"two-byte lead at the end", {'a', 0xC3}, 4, 1, {0x00, 'a', 0, 0}},
        {"three-byte sequence cut short", {0xE4, 0xB8}, 4, 0, {0, 0}},
        {"four-byte sequence cut short", {0xF0, 0x9F, 0x98}, 4, 0, {0, 0}},
    };
    for (const Utf8Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Converted converted = toUtf16(c.input, c.maxUnits);
        EXPECT_EQ(converted.result, c.result);
        EXPECT_EQ(converted.output, c.output);
    }
}

struct Utf16Case {
    const char* what;
    Bytes input;
    int maxUnits;
    int result;
    Bytes output;
};

TEST(Utf16beToUtf8, Table) {
    const std::vector<Utf16Case> cases = {
        {"ASCII", {0x00, 'A', 0x00, 'b'}, 10, 2, {'A', 'b', 0}},
        {"no room at all", {0x00, 'A'}, 0, 0, {0}},
        {"negative room", {0x00, 'A'}, -1, 0, {0}},
        {"two-byte form", {0x00, 0xE9}, 4, 2, {0xC3, 0xA9, 0}},
        {"upper end of the two-byte form", {0x07, 0xFF}, 4, 2, {0xDF, 0xBF, 0}},
        {"three-byte form", {0x4E, 0x2D}, 4, 3, {0xE4, 0xB8, 0xAD, 0}},
        {"surrogate pair", {0xD8, 0x3D, 0xDE, 0x00}, 2, 4, {0xF0, 0x9F, 0x98, 0x80, 0}},
        {"high surrogate as the last unit allowed",
         {0x00, 'a', 0xD8, 0x3D, 0xDE, 0x00},
         2,
         1,
         {'a', 0}},
        {"high surrogate before a non-surrogate", {0xD8, 0x3D, 0x00, 'a'}, 4, 0, {0}},
        {"high surrogate before the end", {0x00, 'a', 0xDB, 0xFF}, 4, 1, {'a', 0}},
        {"lone low surrogate as three bytes", {0xDC, 0x00}, 4, 3, {0xED, 0xB0, 0x80, 0}},
        {"reading stops at maxUnits", {0x00, 'a', 0x00, 'b', 0x00, 'c'}, 2, 2, {'a', 'b', 0}},
        {"reading stops at the zero unit", {0x00, 'a', 0x00, 0x00, 0x00, 'c'}, 3, 1, {'a', 0}},
    };
    for (const Utf16Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Converted converted = toUtf8(c.input, c.maxUnits);
        EXPECT_EQ(converted.result, c.result);
        EXPECT_EQ(converted.output, c.output);
    }
}

TEST(Utf, NullBuffersWriteNothing) {
    unsigned char units[4] = {kGuard, kGuard, kGuard, kGuard};
    char bytes[4] = {'x', 'x', 'x', 'x'};
    const unsigned char a[] = {0x00, 'a', 0, 0};
    EXPECT_EQ(utf8_to_utf16be(nullptr, units, 1), 0);
    EXPECT_EQ(utf8_to_utf16be("a", nullptr, 1), 0);
    EXPECT_EQ(utf16be_to_utf8(nullptr, bytes, 1), 0);
    EXPECT_EQ(utf16be_to_utf8(a, nullptr, 1), 0);
    EXPECT_EQ(units[0], kGuard);
    EXPECT_EQ(bytes[0], 'x');
}

TEST(Utf, WellFormedTextSurvivesTheRoundTrip) {
    const std::string text = "Beijing \xE5\x8C\x97\xE4\xBA\xAC \xF0\x9F\x8E\xB5 caf\xC3\xA9";
    Bytes units(2 * text.size() + 2);
    const int unitCount =
        utf8_to_utf16be(text.c_str(), units.data(), static_cast<int>(text.size()));
    std::vector<char> back(3 * static_cast<std::size_t>(unitCount) + 1);
    const int byteCount = utf16be_to_utf8(units.data(), back.data(), unitCount);
    EXPECT_EQ(std::string(back.data(), static_cast<std::size_t>(byteCount)), text);
}

}  // namespace
