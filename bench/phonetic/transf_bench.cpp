// Readings of typical titles against their floor, one MD5 identifier of each same text in the same
// run. Target: a title's reading costs at most 3 times that digest. And the start of the engine
// on a dictionary pair against reading the pair's two files. Target: under 20 ms.
//
// The dictionaries are the mainland pair the build made from open data, copied into the bench's
// fixed root; a build without them uses a synthetic one of about 23,000 words (every common CJK
// character and 2,000 two-character words), built by the dictionary tool at the first run.
#include <tangor/metadata/Md5.h>
#include <tangor/metadata/MetaDataInfo.h>
#include <tangor/phonetic/phonetic.h>
#include <tangor/platform/CCodeDataManager.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using corvina::Md5;
using corvina::MetaDataInfo;

const std::vector<std::string> kTitles = {
    "月亮代表我的心",
    "北京欢迎你",
    "童话故事",
    "我们的爱 (Live)",
    "青花瓷",
    "Love Story 爱的故事",
    "一千年以后 (Acoustic Version)",
    "夜曲",
};

// The readings are the mainland market's: settled before anything asks for the market.
[[maybe_unused]] const bool mainlandMarket = [] {
    CCodeDataManager::GetInstance().SetCountryCode(6);
    return true;
}();

std::string utf8Of(unsigned codePoint) {
    const char bytes[] = {static_cast<char>(0xE0 | (codePoint >> 12)),
                          static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F)),
                          static_cast<char>(0x80 | (codePoint & 0x3F)), 0};
    return bytes;
}

[[maybe_unused]] void writeWordList(const std::string& path) {
    const char* const syllables[] = {"a",    "ai",   "an",   "bei", "ben",  "chang", "de",
                                     "ge",   "hua",  "jing", "le",  "ming", "ni",    "qing",
                                     "shui", "tian", "wo",   "xin", "yue",  "zhong"};
    std::ofstream list(path);
    for (unsigned c = 0x4E00; c <= 0x9FA5; ++c) {
        list << utf8Of(c) << '\t' << syllables[c % 20] << '\n';
    }
    for (unsigned c = 0x4E00; c < 0x4E00 + 2000; ++c) {
        list << utf8Of(c) << utf8Of(c + 7) << '\t' << syllables[c % 20] << syllables[(c + 7) % 20]
             << '\n';
    }
}

std::string fixedFolder() {
    return std::string(TANGOR_SYSROOT) + "/opt/hmi/data/ro/FEP/dic/utf16be/ZH/CN";
}

void installDictionary() {
    const std::string folder = fixedFolder();
    fs::create_directories(folder + "/pinyin");
#ifdef TANGOR_DICTIONARIES_DIR
    const std::string built = std::string(TANGOR_DICTIONARIES_DIR) + "/CN";
    fs::copy_file(built + "/njcon.a", folder + "/njcon.a", fs::copy_options::overwrite_existing);
    fs::copy_file(built + "/pinyin/njtan.a", folder + "/pinyin/njtan.a",
                  fs::copy_options::overwrite_existing);
#else
    const std::string list = folder + "/words.txt";
    writeWordList(list);
    const std::string command = std::string("'") + TANGOR_MKDIC + "' '" + list + "' '" + folder +
                                "/njcon.a' '" + folder + "/pinyin/njtan.a'";
    if (std::system(command.c_str()) != 0) {
        throw std::runtime_error("cannot build the dictionary: " + command);
    }
#endif
}

// Installs and loads the dictionary once per process; a benchmark that restarts the engine leaves
// it loaded.
void loadDictionary() {
    static const bool loaded = [] {
        installDictionary();
        init_lib(&iWnn, 6);
        return iWnn.state != 0;
    }();
    if (!loaded) {
        throw std::runtime_error("the engine refused the dictionary");
    }
}

void releaseReading(char* reading) {
    // The empty reading is a constant of the library's.
    if (reading != nullptr && reading[0] != 0) {
        std::free(reading);
    }
}

void transf_to_pinyin_titles(benchmark::State& state) {
    loadDictionary();
    char copy[256];
    for (auto _ : state) {
        for (const std::string& title : kTitles) {
            std::snprintf(copy, sizeof(copy), "%s", title.c_str());
            char* reading = transf_to_pinyin(copy);
            benchmark::DoNotOptimize(reading);
            releaseReading(reading);
        }
    }
}

void transf_to_pinyin_titles_floor(benchmark::State& state) {
    for (auto _ : state) {
        for (const std::string& title : kTitles) {
            Md5 id(Md5::Album, title);
            benchmark::DoNotOptimize(id.value.data());
        }
    }
}

// A record whose five texts all have readings; its floor is the five texts' digests.
MetaDataInfo chineseRecord() {
    return MetaDataInfo("/media/usb1/华语/青花瓷.mp3", "/media/usb1", "青花瓷", "周杰伦", "我很忙",
                        "流行音乐", "方文山", 1, 1, 0);
}

void setAsianFields_record(benchmark::State& state) {
    loadDictionary();
    MetaDataInfo info = chineseRecord();
    for (auto _ : state) {
        info.setAsianFields();
        benchmark::DoNotOptimize(info.asianFields);
    }
}

void setAsianFields_record_floor(benchmark::State& state) {
    const MetaDataInfo info = chineseRecord();
    for (auto _ : state) {
        for (const std::string* text :
             {&info.title, &info.artist, &info.album, &info.genre, &info.composer}) {
            Md5 id(Md5::Album, *text);
            benchmark::DoNotOptimize(id.value.data());
        }
    }
}

void init_lib_pair(benchmark::State& state) {
    loadDictionary();
    for (auto _ : state) {
        free_dic(&iWnn);
        init_lib(&iWnn, 6);
        benchmark::DoNotOptimize(iWnn.state);
    }
}

// The two files read whole into buffers of twice their size, as the loader does.
void init_lib_pair_floor(benchmark::State& state) {
    loadDictionary();
    const std::string folder = fixedFolder();
    for (auto _ : state) {
        for (const std::string& path : {folder + "/njcon.a", folder + "/pinyin/njtan.a"}) {
            std::FILE* file = std::fopen(path.c_str(), "rb");
            const auto size = static_cast<std::size_t>(fs::file_size(path));
            void* buffer = std::malloc(2 * size);
            benchmark::DoNotOptimize(std::fread(buffer, 1, size, file));
            std::fclose(file);
            std::free(buffer);
        }
    }
}

BENCHMARK(transf_to_pinyin_titles);
BENCHMARK(transf_to_pinyin_titles_floor);
BENCHMARK(setAsianFields_record);
BENCHMARK(setAsianFields_record_floor);
BENCHMARK(init_lib_pair)->Unit(benchmark::kMillisecond);
BENCHMARK(init_lib_pair_floor)->Unit(benchmark::kMillisecond);

}  // namespace
