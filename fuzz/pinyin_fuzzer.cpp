// transf_to_pinyin on any text, with a small weighted dictionary pair loaded (a seed of the
// dictionary fuzzer, named by TANGOR_FUZZ_PINYIN_PAIR).

#include <tangor/phonetic/phonetic.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "FuzzSupport.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    tangor::fuzz::loadPackedPairFile(TANGOR_FUZZ_PINYIN_PAIR);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<char> input(data, data + size);
    input.push_back('\0');
    char* reading = transf_to_pinyin(input.data());
    if (reading != nullptr && *reading != '\0') {
        if (std::strlen(reading) > 4096) {
            std::abort();  // 55 units cannot read this long
        }
        std::free(reading);
    }
    return 0;
}
