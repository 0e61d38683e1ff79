#include <tangor/phonetic/phonetic.h>

#include <glib.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

#include "internal/FixedPaths.h"
#include "iwnn/IwnnEngine.h"
#include "phonetic/Utf.h"

IwnnWork iWnn{};

namespace {

// The market of the dictionary pair loaded last; it decides how readings are joined.
int dicCountryCode = 0;

constexpr std::size_t kAreaSize = 1316;
constexpr int kMaxTextUnits = 55;
constexpr std::size_t kTextBufferSize = 2048;
constexpr std::size_t kResultBufferSize = 1024;
constexpr int kEngineBufferSize = 112;
constexpr std::size_t kWordBufferSize = 58;

// Returned for "no reading"; the caller never releases it.
char emptyReading[] = "";

struct DictionaryPair {
    const char* settings;  // "njcon.a", loaded first
    const char* words;     // "njtan.a"
};

bool dictionaryPairOf(int countryCode, DictionaryPair* pair) {
    switch (countryCode) {
        case 6:
            *pair = {TANGOR_FIXED_PATH("/opt/hmi/data/ro/FEP/dic/utf16be/ZH/CN/njcon.a"),
                     TANGOR_FIXED_PATH("/opt/hmi/data/ro/FEP/dic/utf16be/ZH/CN/pinyin/njtan.a")};
            return true;
        case 9:
            *pair = {TANGOR_FIXED_PATH("/opt/hmi/data/ro/FEP/dic/utf16be/ZH/TW/njcon.a"),
                     TANGOR_FIXED_PATH("/opt/hmi/data/ro/FEP/dic/utf16be/ZH/TW/bopomofo/njtan.a")};
            return true;
        default:
            return false;
    }
}

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// Loads the file at `path` whole into a malloc'ed buffer of twice its size, stored in `*slot` as
// soon as it exists (the work area owns it from then on, whatever fails later), and records in
// `*loaded` how many of its bytes hold the file. Returns false when the file counts as failed.
bool loadDictionaryFile(const char* path, void** slot, std::uint32_t* loaded) {
    File file(std::fopen(path, "rb"));
    if (!file) {
        std::fprintf(stderr, "Input File %s file Cannot Open\n", path);
        return false;
    }
    if (std::fseek(file.get(), 0, SEEK_END) != 0) {
        std::fprintf(stderr, "Seek Error %s\n", path);
        return false;
    }
    const long size = std::ftell(file.get());
    // Twice the size must fit both the allocator and the engine's 32-bit byte count.
    const bool representable =
        size >= 0 && static_cast<unsigned long>(size) <=
                         std::min<unsigned long>(std::numeric_limits<std::size_t>::max() / 2,
                                                 std::numeric_limits<std::uint32_t>::max());
    unsigned char* buffer =
        representable ? static_cast<unsigned char*>(std::malloc(2 * static_cast<std::size_t>(size)))
                      : nullptr;
    if (buffer == nullptr && size != 0) {
        file.reset();
        std::fwrite("Memory Allocate Error\n", 1, 22, stderr);
        return false;
    }
    *slot = buffer;
    if (std::fseek(file.get(), 0, SEEK_SET) != 0) {
        std::fprintf(stderr, "Seek Error %s\n", path);
        return false;
    }
    // A file that grew since its size was taken is cut at that size; a read error ends the copy.
    const std::size_t copied = std::fread(buffer, 1, static_cast<std::size_t>(size), file.get());
    *loaded = static_cast<std::uint32_t>(copied);
    return size > 0;
}

// The joined reading of a text. Words are appended whole or not at all: once one does not fit,
// the reading is complete as it stands.
class Reading {
public:
    Reading() { buffer_[0] = 0; }

    void appendWord(const char* word, std::size_t wordLength) {
        const bool spaced = dicCountryCode == 9 && length_ > 0;
        const std::size_t needed = wordLength + (spaced ? 1 : 0);
        if (full_ || needed >= sizeof(buffer_) - length_) {
            full_ = true;
            return;
        }
        if (spaced) {
            buffer_[length_++] = ' ';
        }
        std::memcpy(buffer_ + length_, word, wordLength + 1);
        if (dicCountryCode == 6) {
            buffer_[length_] = static_cast<char>(std::toupper(static_cast<unsigned char>(word[0])));
        }
        length_ += wordLength;
    }

    char* release() const { return length_ == 0 ? emptyReading : strdup(buffer_); }

private:
    char buffer_[kResultBufferSize];
    std::size_t length_ = 0;
    bool full_ = false;
};

// Appends the readings of the words of one split. A word without a reading is left out; a word
// whose candidate the engine cannot give ends the split's words.
void appendReadings(const IwnnWord* words, int count, Reading& reading) {
    std::uint8_t yomiFlag = 0;
    for (int k = 0; k < count; ++k) {
        unsigned char yomi[kEngineBufferSize];
        unsigned char candidate[kEngineBufferSize];
        if (mmx_get_yomi(&iWnn, &words[k], yomi, kEngineBufferSize, &yomiFlag) <= 0) {
            continue;
        }
        if (njx_get_candidate(&iWnn, &words[k], candidate, kEngineBufferSize) < 1) {
            return;
        }
        char word[kWordBufferSize];
        const int length =
            corvina::utf16beToUtf8Within(yomi, word, kMaxTextUnits, sizeof(word) - 1);
        if (length > 0) {
            reading.appendWord(word, static_cast<std::size_t>(length));
        }
    }
}

void stripLineEnding(char* text) {
    std::size_t length = std::strlen(text);
    if (length > 0 && text[length - 1] == '\r') {
        text[--length] = 0;
    }
    if (length > 0 && text[length - 1] == '\n') {
        text[--length] = 0;
    }
}

}  // namespace

extern "C" void init_lib(IwnnWork* work, int countryCode) {
    if (work == nullptr) {
        return;
    }
    work->state = 0;
    std::memset(&work->dicSet, 0, sizeof(work->dicSet));
    IwnnDicSet& set = work->dicSet;

    bool failed = false;
    DictionaryPair pair;
    if (dictionaryPairOf(countryCode, &pair)) {
        dicCountryCode = countryCode;
        // Both files are tried, so that every missing one is reported.
        failed |= !loadDictionaryFile(pair.settings, &set.buffers[IWNN_SETTINGS_BUFFER],
                                      &set.bufferSizes[IWNN_SETTINGS_BUFFER]);
        failed |= !loadDictionaryFile(pair.words, &set.table[0].image, &set.table[0].imageSize);
    }

    set.table[0].area = std::malloc(kAreaSize);
    if (set.table[0].area != nullptr && !failed) {
        njx_init(work, nullptr);
        return;
    }
    g_log(nullptr, G_LOG_LEVEL_MESSAGE, "Unable to set dic params");
}

extern "C" char* transf_to_pinyin(char* input) {
    if (input == nullptr) {
        return nullptr;
    }
    stripLineEnding(input);
    // Not cleared: the converter ends what it writes with a zero unit, and nothing reads past it.
    unsigned char text[kTextBufferSize];
    utf8_to_utf16be(input, text, kMaxTextUnits);
    int remaining = nj_strlen(text);
    if (remaining == 0) {
        return nullptr;
    }

    // Each split covers up to 50 words; a longer text takes further splits, joined into one
    // reading. Every split consumes at least one unit or ends the loop.
    Reading reading;
    int position = 0;
    while (remaining > 0) {
        IwnnWord words[IWNN_MAX_WORDS];
        std::uint8_t consumed = 0;
        const int found = mmx_split_word(&iWnn, text + 2 * position, &consumed, words);
        if (found < 0) {
            break;
        }
        appendReadings(words, std::min(found & 0xFF, static_cast<int>(IWNN_MAX_WORDS)), reading);
        if (consumed == 0) {
            break;
        }
        remaining -= consumed;
        position += consumed;
    }
    return reading.release();
}

extern "C" void free_dic(IwnnWork* work) {
    if (work == nullptr) {
        return;
    }
    IwnnDicSet& set = work->dicSet;
    // Entry 0's area is init_lib's to release; any other entry's belongs to the engine.
    std::free(set.table[0].area);
    for (IwnnDicEntry& entry : set.table) {
        if (entry.image != nullptr) {
            if (entry.ownership == 1) {
                entry.ownership = 0;
            } else {
                std::free(entry.image);
                std::free(entry.companion);
                entry.companion = nullptr;
            }
            entry.image = nullptr;
        }
        entry.area = nullptr;
        for (void*& buffer : entry.buffers) {
            std::free(buffer);
            buffer = nullptr;
        }
    }
    for (void*& buffer : set.buffers) {
        std::free(buffer);
        buffer = nullptr;
    }
    std::free(work->engineBuffer);
    work->engineBuffer = nullptr;
}
