#pragma once

// What the user sees of a scan: a progress bar on a terminal (files done and to do, rate, time
// left), warnings and notices as lines of their own.

#include <chrono>
#include <cstdio>
#include <string>

#include "Scanner.h"

namespace tangor::index {

class Progress : public ScanObserver {
public:
    // `bar`: draw the bar (standard error is a terminal and the user wants it).
    Progress(std::FILE* output, bool bar);
    ~Progress() override;

    void partitionStarted(const std::string& mountPoint, std::size_t toRead) override;
    void fileDone() override;
    void warning(const std::string& message) override;
    void notice(const std::string& message) override;

    // Takes the bar off the screen.
    void finish() { clear(); }

    // Prints a line of its own, clearing the bar first and drawing it again after.
    void printLine(const std::string& line);

private:
    using Clock = std::chrono::steady_clock;
    void draw();
    void clear();

    std::FILE* output_;
    bool bar_;
    bool drawn_ = false;
    std::string mountPoint_;
    std::size_t total_ = 0;
    std::size_t done_ = 0;
    Clock::time_point start_;
    Clock::time_point lastDraw_;
};

}  // namespace tangor::index
