// The decoding of legacy 8-bit texts on any bytes: the first byte picks the market (and whether a
// playlist is .m3u8), the rest is one file's texts, a line each, and the same bytes as a playlist.
// What comes out is always valid UTF-8 (a NUL byte included), one text for each text given; ASCII
// and valid UTF-8 texts come back unchanged; a playlist keeps its lines.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "FuzzSupport.h"
#include "LegacyText.h"

namespace {

namespace legacy = tangor::index::legacy;

constexpr unsigned kMarkets[] = {0, 5, 6, 9};
constexpr std::size_t kMaxTexts = 16;
constexpr legacy::Encoding kEncodings[] = {legacy::Encoding::Latin1, legacy::Encoding::Cp1252,
                                           legacy::Encoding::Gb18030, legacy::Encoding::Big5,
                                           legacy::Encoding::Cp932};

using tangor::fuzz::wellFormed;

void check(bool holds) {
    if (!holds) {
        std::abort();
    }
}

std::vector<std::string> splitLines(std::string_view bytes, std::size_t limit) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start <= bytes.size() && lines.size() < limit) {
        const std::size_t end = std::min(bytes.find('\n', start), bytes.size());
        lines.emplace_back(bytes.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

void checkTexts(const std::vector<std::string>& texts, unsigned market) {
    const std::vector<std::string> decoded = legacy::decodeTexts(texts, market);
    check(decoded.size() == texts.size());
    for (std::size_t i = 0; i < texts.size(); ++i) {
        check(wellFormed(decoded[i]));
        if (legacy::isAscii(texts[i]) || legacy::isUtf8(texts[i])) {
            check(decoded[i] == texts[i]);
        }
    }
    for (const std::string& text : texts) {
        for (const legacy::Encoding encoding : kEncodings) {
            check(wellFormed(legacy::decode(text, encoding)));
        }
    }
}

void checkPlaylist(std::string_view content, bool utf8Only, unsigned market) {
    const std::string text = legacy::decodePlaylist(content, utf8Only, market);
    if (utf8Only || legacy::isAscii(content) || legacy::isUtf8(content)) {
        check(text == content);
        return;
    }
    check(wellFormed(text));
    check(std::count(text.begin(), text.end(), '\n') ==
          std::count(content.begin(), content.end(), '\n'));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const unsigned market = kMarkets[data[0] % 4];
    const bool utf8Only = (data[0] & 0x04) != 0;
    const std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    checkTexts(splitLines(rest, kMaxTexts), market);
    checkPlaylist(rest, utf8Only, market);
    return 0;
}
