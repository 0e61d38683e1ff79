#include "Progress.h"

namespace tangor::index {

namespace {

constexpr int kBarWidth = 30;
constexpr auto kRedrawInterval = std::chrono::milliseconds(100);

std::string minutesAndSeconds(double seconds) {
    const long whole = static_cast<long>(seconds + 0.5);
    char text[32];
    std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
    return text;
}

}  // namespace

Progress::Progress(std::FILE* output, bool bar) : output_(output), bar_(bar) {}

Progress::~Progress() {
    clear();
}

void Progress::partitionStarted(const std::string& mountPoint, std::size_t toRead) {
    clear();
    mountPoint_ = mountPoint;
    total_ = toRead;
    done_ = 0;
    start_ = Clock::now();
    lastDraw_ = Clock::time_point();
}

void Progress::fileDone() {
    ++done_;
    const Clock::time_point now = Clock::now();
    if (bar_ && (now - lastDraw_ >= kRedrawInterval || done_ == total_)) {
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
    if (bar_ && total_ > 0 && done_ < total_) {
        draw();
    }
}

void Progress::draw() {
    const double elapsed = std::chrono::duration<double>(Clock::now() - start_).count();
    const double rate = elapsed > 0 ? done_ / elapsed : 0;
    const int filled = total_ ? static_cast<int>(kBarWidth * done_ / total_) : kBarWidth;
    std::string bar(static_cast<std::size_t>(filled), '#');
    bar.resize(kBarWidth, '.');
    const std::string left = rate > 0 ? minutesAndSeconds((total_ - done_) / rate) : "-:--";
    std::fprintf(output_, "\r\033[K%s [%s] %zu/%zu files, %.0f files/s, %s left",
                 mountPoint_.c_str(), bar.c_str(), done_, total_, rate, left.c_str());
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
