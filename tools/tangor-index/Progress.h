#pragma once

// What the user sees of a scan: a progress line on a terminal (the partition, files read, rate),
// warnings and notices as lines of their own. The walk streams, so the number of files to read is
// not known beforehand.

#include <chrono>
#include <cstdio>
#include <string>

#include "Scanner.h"

namespace tangor::index {

class Progress : public ScanObserver {
public:
    // `bar`: draw the progress line (standard error is a terminal and the user wants it).
    Progress(std::FILE* output, bool bar);
    ~Progress() override;

    void partitionStarted(const std::string& mountPoint) override;
    void fileDone() override;
    void warning(const std::string& message) override;
    void notice(const std::string& message) override;

    // Takes the line off the screen.
    void finish() { clear(); }

    // Prints a line of its own, clearing the progress line first and drawing it again after.
    void printLine(const std::string& line);

private:
    using Clock = std::chrono::steady_clock;
    void draw();
    void clear();

    std::FILE* output_;
    bool bar_;
    bool drawn_ = false;
    std::string mountPoint_;
    std::size_t done_ = 0;
    Clock::time_point start_;
    Clock::time_point lastDraw_;
};

}  // namespace tangor::index
