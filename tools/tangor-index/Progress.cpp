#include "Progress.h"

namespace tangor::index {

namespace {

constexpr auto kRedrawInterval = std::chrono::milliseconds(100);

}  // namespace

Progress::Progress(std::FILE* output, bool bar) : output_(output), bar_(bar) {}

Progress::~Progress() {
    clear();
}

void Progress::partitionStarted(const std::string& mountPoint) {
    clear();
    mountPoint_ = mountPoint;
    done_ = 0;
    start_ = Clock::now();
    lastDraw_ = Clock::time_point();
}

void Progress::fileDone() {
    ++done_;
    const Clock::time_point now = Clock::now();
    if (bar_ && now - lastDraw_ >= kRedrawInterval) {
        lastDraw_ = now;
        draw();
    }
}

void Progress::warning(const std::string& message) {
    printLine("tangor-index: warning: " + message);
}

void Progress::notice(const std::string& message) {
    printLine("tangor-index: " + message);
}

void Progress::printLine(const std::string& line) {
    clear();
    std::fprintf(output_, "%s\n", line.c_str());
    if (bar_ && done_ > 0) {
        draw();
    }
}

void Progress::draw() {
    const double elapsed = std::chrono::duration<double>(Clock::now() - start_).count();
    const double rate = elapsed > 0 ? done_ / elapsed : 0;
    std::fprintf(output_, "\r\033[K%s: %zu files read, %.0f files/s", mountPoint_.c_str(), done_,
                 rate);
    std::fflush(output_);
    drawn_ = true;
}

void Progress::clear() {
    if (drawn_) {
        std::fprintf(output_, "\r\033[K");
        std::fflush(output_);
        drawn_ = false;
    }
}

}  // namespace tangor::index
