// make-sample-library DIR [--files N] [--legacy-tags]: writes a small music library of silent,
// tagged audio files for tests and benchmarks of indexers; SampleLayout.h describes the tree. The
// same N always gives the same paths and bytes. Exit status 0 when it is written (or after --help
// or --version), 1 when a file or folder cannot be written, 2 on wrong usage.

#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "SampleLayout.h"
#include "SampleTree.h"

namespace {

constexpr char kUsage[] = "usage: make-sample-library DIR [--files N] [--legacy-tags]\n";

int usage() {
    std::fputs(kUsage, stderr);
    return 2;
}

int help() {
    std::fputs(kUsage, stdout);
    std::printf(
        "Writes N audio files (%d to %d, default %d) of one second of silence, tagged, below DIR,\n"
        "with playlists, hidden files and a text file. The same N gives the same tree.\n"
        "\n"
        "  --files N      the number of audio files\n"
        "  --legacy-tags  also files and playlists in legacy encodings (GBK, Big5, Shift-JIS,\n"
        "                 Latin-1), in DIR/Legacy, not counted in N\n"
        "  --help         show this help and exit\n"
        "  --version      show the version and exit\n"
        "\n"
        "Exit status: 0 written; 1 a file or folder cannot be written; 2 wrong usage.\n",
        tangor::sample::kMinimumFiles, tangor::sample::kMaximumFiles,
        tangor::sample::kDefaultFiles);
    return 0;
}

// --help and --version answer whatever else the command line holds.
int answerOptions(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0) {
            return help();
        }
        if (std::strcmp(argv[i], "--version") == 0) {
            std::puts("make-sample-library (tangor-common) " TANGOR_VERSION);
            return 0;
        }
    }
    return -1;
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
        if (value > tangor::sample::kMaximumFiles) {
            return false;
        }
    }
    if (value < tangor::sample::kMinimumFiles) {
        return false;
    }
    count = static_cast<int>(value);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (const int status = answerOptions(argc, argv); status >= 0) {
        return status;
    }
    const char* root = nullptr;
    int files = tangor::sample::kDefaultFiles;
    bool legacyTags = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--legacy-tags") == 0) {
            legacyTags = true;
        } else if (std::strcmp(argv[i], "--files") == 0) {
            if (++i == argc) {
                return usage();
            }
            if (!parseCount(argv[i], files)) {
                std::fprintf(
                    stderr, "make-sample-library: --files takes a number from %d to %d, not '%s'\n",
                    tangor::sample::kMinimumFiles, tangor::sample::kMaximumFiles, argv[i]);
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
        const tangor::sample::TreeCounts counts =
            tangor::sample::writeTree(base, files, legacyTags);
        std::printf("%s: %d audio files, %d playlists\n", root, counts.audioFiles,
                    counts.playlists);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "make-sample-library: %s\n", error.what());
        return 1;
    }
    return 0;
}
