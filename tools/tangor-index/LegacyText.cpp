#include "LegacyText.h"

#include <iconv.h>
#include <utf8proc.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <type_traits>

namespace tangor::index::legacy {

namespace {

constexpr unsigned kJapan = 5;
constexpr unsigned kChina = 6;
constexpr unsigned kTaiwan = 9;

// The decision weighs this much of each text and of one file's texts together: a few titles decide
// as well as a whole tag, and a long comment or playlist costs no more.
constexpr std::size_t kWeighedPerText = 512;
constexpr std::size_t kWeighedPerFile = 4096;

constexpr std::size_t kEncodings = 5;

struct IconvCloser {
    void operator()(std::remove_pointer_t<iconv_t>* descriptor) const noexcept {
        iconv_close(descriptor);
    }
};
using IconvHandle = std::unique_ptr<std::remove_pointer_t<iconv_t>, IconvCloser>;

IconvHandle openIconv(const char* to, const char* from) {
    const iconv_t descriptor = iconv_open(to, from);
    return IconvHandle(descriptor == reinterpret_cast<iconv_t>(-1) ? nullptr : descriptor);
}

const char* big5Name() {
    static const char* const name = [] {
        for (const char* candidate : {"BIG5-HKSCS", "CP950", "BIG5"}) {
            if (openIconv("UTF-8", candidate)) {
                return candidate;
            }
        }
        return "BIG5";
    }();
    return name;
}

// iconv descriptors are not to be shared by threads; each thread opens its own, once.
class Converters {
public:
    iconv_t toWide(Encoding encoding) { return get(wide_, "WCHAR_T", encoding); }
    iconv_t toUtf8(Encoding encoding) { return get(utf8_, "UTF-8", encoding); }

private:
    struct Slot {
        IconvHandle handle;
        bool tried = false;
    };
    using Slots = std::array<Slot, kEncodings>;

    static iconv_t get(Slots& slots, const char* to, Encoding encoding) {
        Slot& slot = slots[static_cast<std::size_t>(encoding)];
        if (!slot.tried) {
            slot.tried = true;
            slot.handle = openIconv(to, iconvName(encoding));
        }
        iconv(slot.handle.get(), nullptr, nullptr, nullptr, nullptr);  // a fresh shift state
        return slot.handle.get();
    }

    Slots wide_;
    Slots utf8_;
};

Converters& converters() {
    thread_local Converters perThread;
    return perThread;
}

bool failed(std::size_t result) {
    return result == static_cast<std::size_t>(-1);
}

std::string latin1ToUtf8(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            text += c;
        } else {
            text += static_cast<char>(0xC0 | (byte >> 6));
            text += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return text;
}

struct Char {
    std::uint32_t code;
    unsigned char lead;
    unsigned char trail;  // 0 for a character of one byte
    std::size_t size;     // in bytes
};

struct Reading {
    std::vector<Char> chars;
    std::size_t cutBytes = 0;  // of a character cut off at the end
    bool filledField = false;  // long enough to have been cut to fit a field
};

// ID3v1 fields hold 30 bytes (28 for a comment beside a track number): a text that long may end
// in half a character, a shorter one hardly.
constexpr std::size_t kCutFieldBytes = 28;

// One character at a time, so that each character's bytes are known. False when `bytes` are not
// valid in `encoding`.
bool readChars(std::string_view bytes, Encoding encoding, Reading& reading) {
    const iconv_t descriptor = converters().toWide(encoding);
    if (descriptor == nullptr) {
        return false;
    }
    char* in = const_cast<char*>(bytes.data());
    std::size_t inLeft = bytes.size();
    while (inLeft > 0) {  // each round consumes a byte at least, or ends
        const char* start = in;
        std::array<wchar_t, 2> out{};
        char* outPointer = reinterpret_cast<char*>(out.data());
        std::size_t outLeft = sizeof(wchar_t);
        std::size_t result = iconv(descriptor, &in, &inLeft, &outPointer, &outLeft);
        if (in == start && failed(result) && errno == E2BIG) {
            outLeft = sizeof(wchar_t);  // one character that reads as two code points
            result = iconv(descriptor, &in, &inLeft, &outPointer, &outLeft);
        }
        if (in == start) {
            if (failed(result) && errno == EINVAL) {
                reading.cutBytes = inLeft;
                return true;
            }
            return false;
        }
        const std::size_t size = static_cast<std::size_t>(in - start);
        reading.chars.push_back({static_cast<std::uint32_t>(out[0]),
                                 static_cast<unsigned char>(start[0]),
                                 static_cast<unsigned char>(size > 1 ? start[1] : 0), size});
    }
    return true;
}

bool isAsciiLetter(const Char& c) {
    return c.size == 1 && ((c.code >= 'a' && c.code <= 'z') || (c.code >= 'A' && c.code <= 'Z'));
}

// Ideographs rarely touch a lower-case Latin letter; a Western letter read as half of one does.
bool isLowerAsciiLetter(const Char& c) {
    return c.size == 1 && c.code >= 'a' && c.code <= 'z';
}

bool inRange(unsigned value, unsigned first, unsigned last) {
    return value >= first && value <= last;
}

// Points are in halves, so that all stay whole numbers.
enum Points : int {
    kCommon = 4,           // a frequent ideograph or kana of the encoding's own script
    kSymbol = 2,           // full-width punctuation and forms
    kLessCommon = 1,       // the encoding's second level of ideographs
    kRare = -2,            // extensions, other scripts, or a lone half-width kana
    kPrivate = -4,         // user-defined areas
    kFourBytes = -8,       // GB18030's four-byte characters: never in old tags
    kInsideWord = -4,      // an ideograph between two Latin letters, as "Björk" read as GBK gives
    kBesideLowerCase = -3  // an ideograph next to a lower-case Latin letter ("Édith" as Big5)
};

int gb18030Points(const Char& c) {
    if (c.size == 4) {
        return kFourBytes;
    }
    if (c.size != 2) {
        return kRare;
    }
    if (inRange(c.code, 0xE000, 0xF8FF)) {
        return kPrivate;
    }
    if (c.trail >= 0xA1 && inRange(c.lead, 0xB0, 0xF7)) {
        return kCommon;  // GB2312's ideographs
    }
    return c.trail >= 0xA1 && inRange(c.lead, 0xA1, 0xA3) ? kSymbol : kRare;
}

int big5Points(const Char& c) {
    if (c.size != 2) {
        return kRare;
    }
    if (inRange(c.code, 0xE000, 0xF8FF)) {
        return kPrivate;
    }
    if (inRange(c.lead, 0xA4, 0xC5)) {
        return kCommon;
    }
    if (inRange(c.lead, 0xA1, 0xA3)) {
        return kSymbol;
    }
    return inRange(c.lead, 0xC9, 0xF9) ? kLessCommon : kRare;
}

int cp932Points(const Char& c, std::size_t halfWidthRun) {
    if (c.size == 1) {
        return halfWidthRun >= 2 ? kLessCommon : kPrivate;  // half-width kana come in words
    }
    if (inRange(c.code, 0xE000, 0xF8FF)) {
        return kPrivate;
    }
    if (inRange(c.code, 0x3040, 0x30FF) || inRange(c.lead, 0x88, 0x97)) {
        return kCommon;  // kana and the first level of kanji
    }
    if (c.lead == 0x81) {
        return kSymbol;
    }
    return inRange(c.lead, 0x98, 0x9F) || inRange(c.lead, 0xE0, 0xEA) ? kLessCommon : kRare;
}

bool isWesternLetter(std::uint32_t code) {
    switch (code) {
        case 0xD7:  // ×
        case 0xF7:  // ÷
            return false;
        case 0x152:  // Œ œ Š š Ÿ Ž ž, the letters of windows-1252's upper half
        case 0x153:
        case 0x160:
        case 0x161:
        case 0x178:
        case 0x17D:
        case 0x17E:
            return true;
        default:
            return inRange(code, 0xC0, 0xFF);
    }
}

bool isWesternPunctuation(std::uint32_t code) {
    return inRange(code, 0x2010, 0x203A) || code == 0x20AC || code == 0x2122;
}

// A Western text has its accented letters alone inside words ("Björk", "Sigur Rós"); CJK bytes
// read as windows-1252 give runs of letters and symbols ("ÖÜ½ÜÂ×").
int westernPoints(const std::vector<Char>& chars, std::size_t at, std::size_t run) {
    const Char& c = chars[at];
    if (run >= 2) {
        return run == 2 && isWesternLetter(c.code) ? 0 : -2;
    }
    const bool letterBefore = at > 0 && isAsciiLetter(chars[at - 1]);
    const bool letterAfter = at + 1 < chars.size() && isAsciiLetter(chars[at + 1]);
    const int letters = static_cast<int>(letterBefore) + static_cast<int>(letterAfter);
    if (isWesternLetter(c.code)) {
        const bool capitalStartsWord = !letterBefore && letterAfter && c.code <= 0xDE &&
                                       chars[at + 1].code >= 'a' && chars[at + 1].code <= 'z';
        return 2 * letters + (capitalStartsWord ? 2 : 0);  // "Ärzte", "Édith"
    }
    return isWesternPunctuation(c.code) ? 1 + 2 * letters : -1;  // "Don’t"
}

int eastAsianPoints(Encoding encoding, const std::vector<Char>& chars, std::size_t at,
                    std::size_t run) {
    const Char& c = chars[at];
    int points = encoding == Encoding::Gb18030 ? gb18030Points(c)
                 : encoding == Encoding::Big5  ? big5Points(c)
                                               : cp932Points(c, run);
    if (c.size == 1) {
        return points;
    }
    const Char* before = at > 0 ? &chars[at - 1] : nullptr;
    const Char* after = at + 1 < chars.size() ? &chars[at + 1] : nullptr;
    if (before && after && isAsciiLetter(*before) && isAsciiLetter(*after)) {
        points += kInsideWord;
    } else if ((before && isLowerAsciiLetter(*before)) || (after && isLowerAsciiLetter(*after))) {
        points += kBesideLowerCase;
    }
    return points;
}

// How plausible `reading` is as a text in `encoding`: the sum over its non-ASCII characters.
int plausibility(Encoding encoding, const Reading& reading) {
    const std::vector<Char>& chars = reading.chars;
    int points = -static_cast<int>(reading.cutBytes) * (reading.filledField ? 1 : 4);
    std::size_t run = 0;  // of non-ASCII characters, around the current one
    for (std::size_t at = 0; at < chars.size(); ++at) {
        if (chars[at].code < 0x80) {
            run = 0;
            continue;
        }
        if (run == 0) {
            while (at + run < chars.size() && chars[at + run].code >= 0x80) {
                ++run;
            }
        }
        points += encoding == Encoding::Cp1252 ? westernPoints(chars, at, run)
                                               : eastAsianPoints(encoding, chars, at, run);
    }
    return points;
}

// The candidates in the order that settles a tie: the market's own encoding first, then the
// Western one, which true Latin-1 names need on every market.
std::array<Encoding, 4> candidates(unsigned market) {
    switch (market) {
        case kChina:
            return {Encoding::Gb18030, Encoding::Cp1252, Encoding::Big5, Encoding::Cp932};
        case kTaiwan:
            return {Encoding::Big5, Encoding::Cp1252, Encoding::Gb18030, Encoding::Cp932};
        case kJapan:
            return {Encoding::Cp932, Encoding::Cp1252, Encoding::Gb18030, Encoding::Big5};
        default:
            return {Encoding::Cp1252, Encoding::Gb18030, Encoding::Big5, Encoding::Cp932};
    }
}

// The market's own encoding wins where the bytes read about as well in another.
constexpr int kMarketBonus = 2;

}  // namespace

const char* iconvName(Encoding encoding) {
    switch (encoding) {
        case Encoding::Cp1252:
            return "CP1252";
        case Encoding::Gb18030:
            return "GB18030";
        case Encoding::Big5:
            return big5Name();
        case Encoding::Cp932:
            return "CP932";
        case Encoding::Latin1:
            break;
    }
    return "ISO-8859-1";
}

bool isAscii(std::string_view bytes) {
    for (const char c : bytes) {
        if (static_cast<unsigned char>(c) >= 0x80) {
            return false;
        }
    }
    return true;
}

bool isUtf8(std::string_view bytes) {
    const auto* at = reinterpret_cast<const utf8proc_uint8_t*>(bytes.data());
    const auto size = static_cast<utf8proc_ssize_t>(bytes.size());
    // Each round consumes at least one byte. A NUL byte is no text's.
    for (utf8proc_ssize_t i = 0; i < size;) {
        utf8proc_int32_t codePoint = 0;
        const utf8proc_ssize_t length = utf8proc_iterate(at + i, size - i, &codePoint);
        if (length <= 0 || codePoint == 0) {
            return false;
        }
        i += length;
    }
    return true;
}

Encoding decideEncoding(const std::vector<std::string>& texts, unsigned market) {
    Encoding best = Encoding::Latin1;
    int bestPoints = 0;
    bool first = true;
    for (const Encoding encoding : candidates(market)) {
        int points = first ? kMarketBonus : 0;
        first = false;
        bool readsAll = true;
        std::size_t weighed = 0;
        for (const std::string& text : texts) {
            if (weighed >= kWeighedPerFile) {
                break;
            }
            const std::string_view part = std::string_view(text).substr(0, kWeighedPerText);
            Reading reading;
            if (!readChars(part, encoding, reading)) {
                readsAll = false;
                break;
            }
            if (part.size() < text.size()) {
                reading.cutBytes = 0;  // the cut is ours
            }
            reading.filledField = text.size() >= kCutFieldBytes;
            points += plausibility(encoding, reading);
            weighed += part.size();
        }
        if (readsAll && (best == Encoding::Latin1 || points > bestPoints)) {
            best = encoding;
            bestPoints = points;
        }
    }
    return best;
}

std::string decode(std::string_view bytes, Encoding encoding) {
    if (encoding == Encoding::Latin1) {
        return latin1ToUtf8(bytes);
    }
    const iconv_t descriptor = converters().toUtf8(encoding);
    if (descriptor == nullptr) {
        return latin1ToUtf8(bytes);
    }
    // No character of these encodings takes more than 4 bytes in UTF-8, nor fewer than 1 here.
    std::string text(bytes.size() * 4 + 16, '\0');
    char* in = const_cast<char*>(bytes.data());
    std::size_t inLeft = bytes.size();
    char* out = text.data();
    std::size_t outLeft = text.size();
    if (failed(iconv(descriptor, &in, &inLeft, &out, &outLeft)) && errno != EINVAL) {
        return latin1ToUtf8(bytes);
    }
    iconv(descriptor, nullptr, nullptr, &out, &outLeft);
    text.resize(text.size() - outLeft);
    return text;
}

std::vector<std::string> decodeTexts(const std::vector<std::string>& texts, unsigned market) {
    std::vector<std::string> legacyTexts;
    for (const std::string& text : texts) {
        if (!isAscii(text) && !isUtf8(text)) {
            legacyTexts.push_back(text);
        }
    }
    const Encoding together =
        legacyTexts.empty() ? Encoding::Latin1 : decideEncoding(legacyTexts, market);
    std::vector<std::string> decoded;
    decoded.reserve(texts.size());
    for (const std::string& text : texts) {
        if (isAscii(text) || isUtf8(text)) {
            decoded.push_back(text);
        } else if (together != Encoding::Latin1) {
            decoded.push_back(decode(text, together));
        } else {
            decoded.push_back(decode(text, decideEncoding({text}, market)));
        }
    }
    return decoded;
}

std::string decodePlaylist(std::string_view content, bool utf8Only, unsigned market) {
    if (utf8Only || isAscii(content) || isUtf8(content)) {
        return std::string(content);
    }
    // Line ends are ASCII in every one of these encodings, and no trail byte is a line end.
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start <= content.size()) {
        std::size_t end = content.find('\n', start);
        if (end == std::string_view::npos) {
            end = content.size();
        }
        lines.emplace_back(content.substr(start, end - start));
        start = end + 1;
    }
    std::string text;
    text.reserve(content.size() * 2);
    const std::vector<std::string> decoded = decodeTexts(lines, market);
    for (std::size_t i = 0; i < decoded.size(); ++i) {
        text += i == 0 ? decoded[i] : "\n" + decoded[i];
    }
    return text;
}

}  // namespace tangor::index::legacy
