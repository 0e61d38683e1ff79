#include "TagReadWindow.h"

#include <exception>

namespace tangor::index {

TagReadWindow::TagReadWindow(const MountPoint& mountPoint, std::size_t capacity, unsigned workers)
    : mountPoint_(mountPoint), slots_(capacity > 0 ? capacity : 1) {
    workers_.reserve(workers);
    for (unsigned i = 0; i < workers; ++i) {
        workers_.emplace_back(&TagReadWindow::work, this);
    }
}

TagReadWindow::~TagReadWindow() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    workAvailable_.notify_all();
    for (std::thread& worker : workers_) {
        worker.join();
    }
}

bool TagReadWindow::full() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return tail_ - head_ == slots_.size();
}

bool TagReadWindow::empty() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return tail_ == head_;
}

void TagReadWindow::push(ScanItem item) {
    const bool needsRead = item.action == ScanItem::Action::Read;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        Slot& slot = slots_[tail_ % slots_.size()];
        slot.item = std::move(item);
        slot.state = needsRead ? State::Waiting : State::Done;
        ++tail_;
    }
    if (needsRead) {
        workAvailable_.notify_one();
    }
}

ScanItem TagReadWindow::pop() {
    std::unique_lock<std::mutex> lock(mutex_);
    Slot& slot = slots_[head_ % slots_.size()];
    if (slot.state == State::Waiting) {
        // No worker has taken it: reading it here is quicker than waiting for one.
        slot.state = State::Reading;
        if (nextClaim_ == head_) {
            ++nextClaim_;
        }
        lock.unlock();
        read(slot);
        lock.lock();
        slot.state = State::Done;
    }
    itemDone_.wait(lock, [&slot] { return slot.state == State::Done; });
    ScanItem item = std::move(slot.item);
    slot.item = ScanItem();
    ++head_;
    if (nextClaim_ < head_) {
        nextClaim_ = head_;
    }
    return item;
}

TagReadWindow::Slot* TagReadWindow::claimNext() {
    nextClaim_ = nextClaim_ < head_ ? head_ : nextClaim_;
    for (; nextClaim_ < tail_; ++nextClaim_) {
        Slot& slot = slots_[nextClaim_ % slots_.size()];
        if (slot.state == State::Waiting) {
            slot.state = State::Reading;
            ++nextClaim_;
            return &slot;
        }
    }
    return nullptr;
}

void TagReadWindow::work() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (true) {
        Slot* slot = nullptr;
        workAvailable_.wait(lock, [this, &slot] {
            slot = stopping_ ? nullptr : claimNext();
            return stopping_ || slot != nullptr;
        });
        if (!slot) {
            return;
        }
        lock.unlock();
        read(*slot);
        lock.lock();
        slot->state = State::Done;
        itemDone_.notify_one();
    }
}

void TagReadWindow::read(Slot& slot) const {
    ScanItem& item = slot.item;
    try {
        item.tagResult = readTags(mountPoint_.absolute(item.relativePath), item.tags, item.link);
    } catch (const std::exception&) {
        // What TagLib or the allocator throws for one file must not end the scan.
        item.tags = Tags();
        item.tagResult = TagResult::Unreadable;
    }
}

}  // namespace tangor::index
