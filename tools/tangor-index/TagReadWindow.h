#pragma once

// Between the comparison stage and the write stage: a bounded window of items in walk order, whose
// tags worker threads read ahead while the writing thread takes items from the front, each once
// its tags are read. The items leave in the order they came, whatever thread read them, so a scan
// writes the same rows in the same order with any number of workers.
//
// All calls but the workers' own come from one thread. With no workers the taking thread reads
// each item's tags itself; it also reads the front item itself when no worker has taken it yet.

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "MountPoint.h"
#include "ScanItem.h"

namespace tangor::index {

class TagReadWindow {
public:
    TagReadWindow(const MountPoint& mountPoint, std::size_t capacity, unsigned workers);
    ~TagReadWindow();
    TagReadWindow(const TagReadWindow&) = delete;
    TagReadWindow& operator=(const TagReadWindow&) = delete;

    bool full() const;
    bool empty() const;
    void push(ScanItem item);
    // The front item, its tags read; the window must not be empty.
    ScanItem pop();

private:
    enum class State { Waiting, Reading, Done };
    struct Slot {
        ScanItem item;
        State state = State::Done;
    };

    void work();
    // Under the lock: the next item for a worker, or null.
    Slot* claimNext();
    void read(Slot& slot) const;

    const MountPoint& mountPoint_;
    mutable std::mutex mutex_;
    std::condition_variable workAvailable_;
    std::condition_variable itemDone_;
    std::vector<Slot> slots_;
    std::uint64_t head_ = 0;       // the front item's number
    std::uint64_t tail_ = 0;       // the number the next pushed item gets
    std::uint64_t nextClaim_ = 0;  // no item before it waits for a worker
    bool stopping_ = false;
    std::vector<std::thread> workers_;
};

}  // namespace tangor::index
