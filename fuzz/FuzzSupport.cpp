#include "FuzzSupport.h"

#include <tangor/phonetic/phonetic.h>
#include <utf8proc.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "internal/FixedPaths.h"
#include "iwnn/DictionaryFormat.h"

namespace tangor::fuzz {

bool wellFormed(std::string_view text) {
    const auto* at = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    const auto size = static_cast<utf8proc_ssize_t>(text.size());
    for (utf8proc_ssize_t i = 0; i < size;) {  // each round consumes a byte at least, or ends
        utf8proc_int32_t codePoint = 0;
        const utf8proc_ssize_t length = utf8proc_iterate(at + i, size - i, &codePoint);
        if (length <= 0) {
            return false;
        }
        i += length;
    }
    return true;
}

namespace {

namespace fs = std::filesystem;
namespace format = corvina::iwnn;

constexpr const char* kSettingsPath =
    TANGOR_FIXED_PATH("/opt/hmi/data/ro/FEP/dic/utf16be/ZH/CN/njcon.a");
constexpr const char* kWordsPath =
    TANGOR_FIXED_PATH("/opt/hmi/data/ro/FEP/dic/utf16be/ZH/CN/pinyin/njtan.a");
constexpr int kMainland = 6;

// The words file's size and checksum, as the settings' own version says they are taken.
void fixChecksum(std::vector<std::uint8_t>& settings, const std::vector<std::uint8_t>& words) {
    if (settings.size() < format::kSettingsSize) {
        return;
    }
    const bool weighted = format::readU16(settings.data() + format::kSettingsVersionAt) ==
                          format::kWeightedFormatVersion;
    const std::uint32_t checksum = weighted ? format::fnv1a32Words(words.data(), words.size())
                                            : format::fnv1a32(words.data(), words.size());
    format::writeU32(settings.data() + format::kSettingsWordsSizeAt,
                     static_cast<std::uint32_t>(words.size()));
    format::writeU32(settings.data() + format::kSettingsWordsChecksumAt, checksum);
}

}  // namespace

bool writeFile(const std::string& path, const std::uint8_t* data, std::size_t size) {
    std::error_code ignored;
    fs::create_directories(fs::path(path).parent_path(), ignored);
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        return false;
    }
    const bool written = size == 0 || std::fwrite(data, 1, size, file) == size;
    return std::fclose(file) == 0 && written;
}

bool writePackedPair(const std::uint8_t* data, std::size_t size) {
    if (size < kPackedHeaderSize) {
        return false;
    }
    const std::size_t settingsSize = (std::size_t{data[1]} << 8) | data[2];
    if (settingsSize > size - kPackedHeaderSize) {
        return false;
    }
    const std::uint8_t* settingsAt = data + kPackedHeaderSize;
    std::vector<std::uint8_t> settings(settingsAt, settingsAt + settingsSize);
    const std::vector<std::uint8_t> words(settingsAt + settingsSize, data + size);
    if (data[0] & kFixChecksum) {
        fixChecksum(settings, words);
    }
    return writeFile(kSettingsPath, settings.data(), settings.size()) &&
           writeFile(kWordsPath, words.data(), words.size());
}

void loadPackedPairFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    const std::vector<std::uint8_t> packed((std::istreambuf_iterator<char>(in)),
                                           std::istreambuf_iterator<char>());
    if (!writePackedPair(packed.data(), packed.size())) {
        std::fprintf(stderr, "cannot unpack the dictionary pair %s\n", path.c_str());
        std::exit(1);
    }
    init_lib(&iWnn, kMainland);
}

}  // namespace tangor::fuzz
