#include <tangor/platform/normalize.h>

#include <utf8proc.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>

namespace {

struct FreeDeleter {
    void operator()(void* p) const noexcept { std::free(p); }
};

// Katakana U+30A1..U+30F6 and the iteration marks U+30FD..U+30FE lie 0x60 above their hiragana;
// ヷ..ヺ and the other marks between have none and stay.
std::uint32_t hiraganaFor(std::uint32_t codepoint) {
    if ((codepoint >= 0x30A1 && codepoint <= 0x30F6) || codepoint == 0x30FD ||
        codepoint == 0x30FE) {
        return codepoint - 0x60;
    }
    return codepoint;
}

// Rewrites katakana in place in valid UTF-8: every character concerned and its hiragana are three
// bytes led by 0xE3, so the length never changes. Done after NFKC, when half-width katakana have
// become full-width and voiced marks are composed.
void foldKatakana(std::uint8_t* text, std::size_t size) {
    for (std::size_t i = 0; i + 2 < size; ++i) {
        if (text[i] != 0xE3) {
            continue;
        }
        const std::uint32_t codepoint =
            0x3000u | ((text[i + 1] & 0x3Fu) << 6) | (text[i + 2] & 0x3Fu);
        const std::uint32_t folded = hiraganaFor(codepoint);
        text[i + 1] = static_cast<std::uint8_t>(0x80 | ((folded >> 6) & 0x3F));
        text[i + 2] = static_cast<std::uint8_t>(0x80 | (folded & 0x3F));
        i += 2;
    }
}

char* fail(unsigned* outLength) {
    if (outLength != nullptr) {
        *outLength = 0;
    }
    return nullptr;
}

}  // namespace

extern "C" char* normalize_utf8(const char* text, unsigned length, unsigned* outLength) {
    // utf8proc takes a signed size: on the 32-bit target a length above its range would read as
    // negative and pass for an empty text.
    constexpr auto maxInput =
        static_cast<std::uintmax_t>(std::numeric_limits<utf8proc_ssize_t>::max());
    if (text == nullptr || std::uintmax_t{length} > maxInput) {
        return fail(outLength);
    }
    // Without UTF8PROC_NULLTERM utf8proc reads exactly `length` bytes and rejects malformed,
    // overlong, surrogate and out-of-range sequences; its result is malloc'ed and NUL-terminated.
    const auto options = static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE |
                                                        UTF8PROC_COMPAT | UTF8PROC_CASEFOLD);
    utf8proc_uint8_t* mapped = nullptr;
    const utf8proc_ssize_t size =
        utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text),
                     static_cast<utf8proc_ssize_t>(length), &mapped, options);
    std::unique_ptr<utf8proc_uint8_t, FreeDeleter> result(mapped);
    if (size < 0 || result == nullptr ||
        static_cast<std::uintmax_t>(size) > std::numeric_limits<unsigned>::max()) {
        return fail(outLength);
    }
    foldKatakana(result.get(), static_cast<std::size_t>(size));
    if (outLength != nullptr) {
        *outLength = static_cast<unsigned>(size);
    }
    return reinterpret_cast<char*>(result.release());
}
