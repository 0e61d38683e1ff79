// Track records from any path, mount point and tags (the input's NUL-separated fields), through
// both constructors, the audio type and the readings of the mainland market with a small
// dictionary pair loaded (TANGOR_FUZZ_PINYIN_PAIR).

#include <tangor/metadata/MetaDataInfo.h>
#include <tangor/platform/CCodeDataManager.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "FuzzSupport.h"

namespace {

constexpr std::size_t kFields = 7;

std::vector<std::string> fieldsOf(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> fields(1);
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == 0 && fields.size() < kFields) {
            fields.emplace_back();
        } else {
            fields.back().push_back(static_cast<char>(data[i]));
        }
    }
    fields.resize(kFields);
    return fields;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    CCodeDataManager::GetInstance().SetCountryCode(6);
    tangor::fuzz::loadPackedPairFile(TANGOR_FUZZ_PINYIN_PAIR);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> f = fieldsOf(data, size);
    const int number = size > 0 ? static_cast<signed char>(data[0]) : 0;
    corvina::MetaDataInfo record(f[0], f[1], f[2], f[3], f[4], f[5], f[6], number, -number, number);
    record.getAudioType();
    record.setAsianFields();
    const corvina::MetaDataInfo copy = record;
    const corvina::StrippedValue title =
        corvina::trim(f[2].data(), static_cast<unsigned>(f[2].size()));
    const corvina::StrippedValue artist =
        corvina::trim(f[3].data(), static_cast<unsigned>(f[3].size()));
    corvina::MetaDataInfo viewed(f[0], f[1], title, artist, {nullptr, 0}, title, artist, 1, 1, 0);
    if (viewed.getAudioType() != viewed.getAudioType()) {
        std::abort();
    }
    return 0;
}
