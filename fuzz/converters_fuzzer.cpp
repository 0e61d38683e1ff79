// The UTF-8/UTF-16BE converters on any bytes and any unit limit: every write stays in the
// contract's buffer sizes (the sanitizers check it), the counts stay within the limit, and for
// well-formed UTF-8 what comes back from a round trip is the start of what went in. (Malformed
// continuation bytes are taken by their low six bits, so other input need not come back.)

#include <glib.h>
#include <tangor/phonetic/phonetic.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr int kMaxUnits = 300;

void roundTrip(const std::string& utf8, int maxUnits) {
    std::vector<unsigned char> units(2 * static_cast<std::size_t>(maxUnits) + 2);
    const int written = utf8_to_utf16be(utf8.c_str(), units.data(), maxUnits);
    if (written < 0 || written > maxUnits || units[2 * written] != 0 ||
        units[2 * written + 1] != 0) {
        std::abort();
    }
    std::vector<char> back(3 * static_cast<std::size_t>(maxUnits) + 1);
    const int bytes = utf16be_to_utf8(units.data(), back.data(), maxUnits);
    if (!g_utf8_validate(utf8.data(), static_cast<gssize>(utf8.size()), nullptr)) {
        return;
    }
    if (bytes < 0 || static_cast<std::size_t>(bytes) > utf8.size() || back[bytes] != '\0' ||
        std::memcmp(back.data(), utf8.data(), static_cast<std::size_t>(bytes)) != 0) {
        std::abort();
    }
}

void fromUnits(const std::uint8_t* data, std::size_t size, int maxUnits) {
    // The source ends at a zero unit or after maxUnits: give it both, padded to whole units.
    std::vector<unsigned char> units(data, data + size);
    units.resize(2 * static_cast<std::size_t>(maxUnits) + 2, 0);
    std::vector<char> text(3 * static_cast<std::size_t>(maxUnits) + 1);
    const int bytes = utf16be_to_utf8(units.data(), text.data(), maxUnits);
    if (bytes < 0 || bytes > 3 * maxUnits || text[bytes] != '\0') {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) {
        return 0;
    }
    const int maxUnits = data[0] % kMaxUnits;
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    roundTrip(text.c_str(), maxUnits);  // up to the first NUL, as a C text is read
    fromUnits(data + 1, size - 1, maxUnits);
    return 0;
}
