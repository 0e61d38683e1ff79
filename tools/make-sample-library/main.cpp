// make-sample-library DIR [--files N]: writes a small music library of silent, tagged audio files
// for tests and benchmarks of indexers; SampleLayout.h describes the tree. The same N always gives
// the same paths and bytes. Exit status 0 when it is written, 1 when a file or folder cannot be
// written, 2 on wrong usage.

#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "SampleLayout.h"
#include "SampleTree.h"

namespace {

int usage() {
    std::fprintf(stderr, "usage: make-sample-library DIR [--files N]\n");
    return 2;
}

// A count of files within the allowed range, written in decimal digits only.
bool parseCount(const char* text, int& count) {
    long long value = 0;
    if (*text == '\0') {
        return false;
    }
    for (const char* digit = text; *digit != '\0'; ++digit) {
        if (*digit < '0' || *digit > '9') {
            return false;
        }
        value = value * 10 + (*digit - '0');
        if (value > sample::maximumFiles) {
            return false;
        }
    }
    if (value < sample::minimumFiles) {
        return false;
    }
    count = static_cast<int>(value);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    const char* root = nullptr;
    int files = sample::defaultFiles;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--files") == 0) {
            if (++i == argc) {
                return usage();
            }
            if (!parseCount(argv[i], files)) {
                std::fprintf(
                    stderr, "make-sample-library: --files takes a number from %d to %d, not '%s'\n",
                    sample::minimumFiles, sample::maximumFiles, argv[i]);
                return 2;
            }
        } else if (argv[i][0] == '-' || argv[i][0] == '\0' || root != nullptr) {
            return usage();
        } else {
            root = argv[i];
        }
    }
    if (root == nullptr) {
        return usage();
    }
    // Trailing slashes would double in the paths of the messages.
    std::string base = root;
    while (base.size() > 1 && base.back() == '/') {
        base.pop_back();
    }
    try {
        const sample::TreeCounts counts = sample::writeTree(base, files);
        std::printf("%s: %d audio files, %d playlists\n", root, counts.audioFiles,
                    counts.playlists);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "make-sample-library: %s\n", error.what());
        return 1;
    }
    return 0;
}
