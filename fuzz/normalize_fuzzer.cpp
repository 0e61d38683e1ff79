// normalize_utf8 on any bytes: the length it reports is the result's, and normalising a result
// again gives it back unchanged.

#include <tangor/platform/normalize.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

struct Freed {
    char* text;
    ~Freed() { std::free(text); }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    unsigned length = 0;
    const Freed once{
        normalize_utf8(reinterpret_cast<const char*>(data), static_cast<unsigned>(size), &length)};
    if (once.text == nullptr) {
        return 0;
    }
    if (once.text[length] != '\0') {
        std::abort();
    }
    unsigned againLength = 0;
    const Freed again{normalize_utf8(once.text, length, &againLength)};
    if (again.text == nullptr || againLength != length ||
        std::memcmp(again.text, once.text, length) != 0) {
        std::abort();
    }
    return 0;
}
