#include <tangor/phonetic/phonetic.h>

#include <cstddef>
#include <cstdint>

#include "phonetic/Utf.h"

namespace {

void putUnit(unsigned char* dst, int position, std::uint32_t unit) {
    dst[2 * position] = static_cast<unsigned char>((unit >> 8) & 0xFF);
    dst[2 * position + 1] = static_cast<unsigned char>(unit & 0xFF);
}

std::uint32_t unitAt(const unsigned char* src, int position) {
    return (std::uint32_t{src[2 * position]} << 8) | src[2 * position + 1];
}

// Continuation bytes are taken by their low six bits whatever their top bits hold.
std::uint32_t low6(unsigned char byte) {
    return byte & 0x3Fu;
}

}  // namespace

extern "C" int utf8_to_utf16be(const char* text, unsigned char* dst, int maxUnits) {
    if (text == nullptr || dst == nullptr) {
        return 0;
    }
    const unsigned char* src = reinterpret_cast<const unsigned char*>(text);
    int i = 0;
    int n = 0;
    // Each pass consumes at least one byte before the NUL or stops, so the loop ends with the text.
    while (src[i] != 0 && n < maxUnits) {
        const unsigned char lead = src[i];
        if (lead < 0x80) {
            putUnit(dst, n, lead);
            i += 1;
            n += 1;
        } else if ((lead & 0xE0) == 0xC0) {
            if (src[i + 1] == 0) {
                break;
            }
            putUnit(dst, n, ((lead & 0x1Fu) << 6) | low6(src[i + 1]));
            i += 2;
            n += 1;
        } else if ((lead & 0xF0) == 0xE0) {
            if (src[i + 1] == 0 || src[i + 2] == 0) {
                break;
            }
            putUnit(dst, n, ((lead & 0x0Fu) << 12) | (low6(src[i + 1]) << 6) | low6(src[i + 2]));
            i += 3;
            n += 1;
        } else if ((lead & 0xF8) == 0xF0) {
            if (n >= maxUnits - 1) {
                break;
            }
            if (src[i + 1] == 0 || src[i + 2] == 0 || src[i + 3] == 0) {
                break;
            }
            const std::uint32_t value = ((lead & 0x07u) << 18) | (low6(src[i + 1]) << 12) |
                                        (low6(src[i + 2]) << 6) | low6(src[i + 3]);
            const std::uint32_t v = (value - 0x10000u) & 0xFFFFFu;
            putUnit(dst, n, 0xD800u | (v >> 10));
            putUnit(dst, n + 1, 0xDC00u | (v & 0x3FFu));
            i += 4;
            n += 2;
        } else {
            break;
        }
    }
    putUnit(dst, n, 0);
    return n;
}

namespace {

// The UTF-8 bytes of `cp` at `dst`, `width` of them.
void putUtf8(unsigned char* dst, std::uint32_t cp, std::size_t width) {
    if (width == 1) {
        dst[0] = static_cast<unsigned char>(cp);
        return;
    }
    static const unsigned char leads[] = {0, 0, 0xC0, 0xE0, 0xF0};
    for (std::size_t k = width - 1; k > 0; --k, cp >>= 6) {
        dst[k] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
    }
    dst[0] = static_cast<unsigned char>(leads[width] | cp);
}

}  // namespace

namespace corvina {

int utf16beToUtf8Within(const unsigned char* src, char* text, int maxUnits, std::size_t maxBytes) {
    if (src == nullptr || text == nullptr) {
        return 0;
    }
    unsigned char* dst = reinterpret_cast<unsigned char*>(text);
    int i = 0;
    std::size_t n = 0;
    while (i < maxUnits && unitAt(src, i) != 0) {
        std::uint32_t cp = unitAt(src, i);
        int span = 1;
        if (cp >= 0xD800 && cp <= 0xDBFF) {
            if (i >= maxUnits - 1) {
                break;
            }
            const std::uint32_t next = unitAt(src, i + 1);
            if (next < 0xDC00 || next > 0xDFFF) {
                break;
            }
            cp = 0x10000 + ((cp - 0xD800) << 10) + (next - 0xDC00);
            span = 2;
        }
        const std::size_t width = cp < 0x80 ? 1 : cp < 0x800 ? 2 : cp < 0x10000 ? 3 : 4;
        if (n + width > maxBytes) {
            break;
        }
        putUtf8(dst + n, cp, width);
        n += width;
        i += span;
    }
    dst[n] = 0;
    return static_cast<int>(n);
}

}  // namespace corvina

extern "C" int utf16be_to_utf8(const unsigned char* src, char* text, int maxUnits) {
    // maxUnits units never make more than 3 * maxUnits bytes, so only the caller's room bounds it.
    return corvina::utf16beToUtf8Within(src, text, maxUnits, SIZE_MAX);
}
