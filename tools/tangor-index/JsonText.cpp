#include "JsonText.h"

#include <utf8proc.h>

#include <cstdio>

namespace tangor::index {

std::string jsonString(const std::string& text) {
    std::string out = "\"";
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    const auto size = static_cast<utf8proc_ssize_t>(text.size());
    // Each round consumes at least one byte.
    for (utf8proc_ssize_t i = 0; i < size;) {
        utf8proc_int32_t codePoint = 0;
        const utf8proc_ssize_t length = utf8proc_iterate(bytes + i, size - i, &codePoint);
        if (length <= 0) {
            out += "\xEF\xBF\xBD";
            ++i;
            continue;
        }
        if (codePoint == '"' || codePoint == '\\') {
            out += '\\';
            out += static_cast<char>(codePoint);
        } else if (codePoint < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(codePoint));
            out += escaped;
        } else {
            out.append(text, static_cast<std::size_t>(i), static_cast<std::size_t>(length));
        }
        i += length;
    }
    return out + "\"";
}

}  // namespace tangor::index
