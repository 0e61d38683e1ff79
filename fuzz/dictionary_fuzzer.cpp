// init_lib on any dictionary pair (packed as FuzzSupport.h says), then a few readings with what it
// loaded, and free_dic. The seeds are valid pairs of both format versions.

#include <tangor/phonetic/phonetic.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "FuzzSupport.h"

namespace {

constexpr int kMainland = 6;
const char* const kTexts[] = {"长城", "長城 Beyond 海阔天空", "曾志伟", "女儿", "a"};

void readTexts() {
    for (const char* text : kTexts) {
        char input[64];
        std::strncpy(input, text, sizeof input - 1);
        input[sizeof input - 1] = '\0';
        char* reading = transf_to_pinyin(input);
        if (reading != nullptr && *reading != '\0') {
            std::free(reading);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (!tangor::fuzz::writePackedPair(data, size)) {
        return 0;
    }
    init_lib(&iWnn, kMainland);
    readTexts();
    free_dic(&iWnn);
    return 0;
}
