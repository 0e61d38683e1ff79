#pragma once

// An engine work area filled the way the library's loader fills it, for tests that drive the
// engine directly: each image in a malloc'ed buffer of twice its size, its byte count beside it.
// The engine's own buffer is released with the images. Room::Exact leaves no room after an image
// instead, so that valgrind and AddressSanitizer see any read past it.

#include <tangor/platform/IwnnWork.h>

#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

namespace tangor::test {

class EngineWork {
public:
    enum class Room { Twice, Exact };

    EngineWork() = default;
    ~EngineWork() { release(); }
    EngineWork(const EngineWork&) = delete;
    EngineWork& operator=(const EngineWork&) = delete;

    // Places the settings ("njcon.a") and words ("njtan.a") images; a missing one stays null.
    void place(const std::optional<std::string>& settings, const std::optional<std::string>& words,
               Room room = Room::Twice) {
        release();
        IwnnDicSet& set = work_.dicSet;
        set.buffers[IWNN_SETTINGS_BUFFER] = copy(settings, room);
        set.bufferSizes[IWNN_SETTINGS_BUFFER] = settings ? settings->size() : 0;
        set.table[0].image = copy(words, room);
        set.table[0].imageSize = words ? words->size() : 0;
    }

    IwnnWork* get() { return &work_; }

private:
    static void* copy(const std::optional<std::string>& bytes, Room room) {
        if (!bytes) {
            return nullptr;
        }
        const std::size_t size = bytes->size();
        void* buffer = std::malloc(room == Room::Twice ? 2 * size + 1 : size + (size == 0));
        std::memcpy(buffer, bytes->data(), bytes->size());
        return buffer;
    }

    void release() {
        std::free(work_.dicSet.buffers[IWNN_SETTINGS_BUFFER]);
        std::free(work_.dicSet.table[0].image);
        std::free(work_.engineBuffer);  // what njx_init built there
        work_ = IwnnWork{};
    }

    IwnnWork work_{};
};

}  // namespace tangor::test
