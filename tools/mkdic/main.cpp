// tangor-mkdic WORDLIST NJCON NJTAN: builds the dictionary pair of the built-in conversion engine
// from a word list (docs/dictionary-format.md). Exit status 0 with both files written (or after
// --help or --version); 1 with neither when the list has bad lines or a file cannot be read or
// written; 2 on wrong usage.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "DictionaryImages.h"
#include "WordList.h"

namespace {

using tangor::mkdic::DictionaryImages;
using tangor::mkdic::LineError;
using tangor::mkdic::WordList;

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

constexpr char kUsage[] = "usage: tangor-mkdic WORDLIST NJCON NJTAN\n";
constexpr char kHelp[] =
    "Builds the dictionary pair of the built-in conversion engine (NJCON, NJTAN) from WORDLIST,\n"
    "a UTF-8 file of \"word<TAB>reading\" lines.\n"
    "\n"
    "  --help     show this help and exit\n"
    "  --version  show the version and exit\n"
    "\n"
    "Exit status: 0 both files written; 1 neither written (bad lines, a file that cannot be read\n"
    "or written); 2 wrong usage.\n";

// --help and --version answer on standard output; any other word starting with "--" is wrong usage.
// Returns the exit status, or -1 when the arguments are for a build.
int answerOptions(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0) {
            std::fputs(kUsage, stdout);
            std::fputs(kHelp, stdout);
            return 0;
        }
        if (std::strcmp(argv[i], "--version") == 0) {
            std::puts("tangor-mkdic (tangor-common) " TANGOR_VERSION);
            return 0;
        }
        if (std::strncmp(argv[i], "--", 2) == 0) {
            std::fprintf(stderr, "tangor-mkdic: unknown option %s\n%s", argv[i], kUsage);
            return 2;
        }
    }
    return -1;
}

int fail(const char* what, const char* path, const std::string& reason) {
    std::fprintf(stderr, "tangor-mkdic: cannot %s %s: %s\n", what, path, reason.c_str());
    return 1;
}

// Writes `bytes` to `path`; on failure removes what it opened and leaves `error` set.
bool writeFile(const char* path, const std::vector<unsigned char>& bytes, std::string& error) {
    File file(std::fopen(path, "wb"));
    if (!file) {
        error = std::strerror(errno);
        return false;
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
    // fclose reports what the buffered writes could not do.
    const bool closed = std::fclose(file.release()) == 0;
    if (written && closed) {
        return true;
    }
    error = std::strerror(errno);
    std::remove(path);
    return false;
}

int writeImages(const DictionaryImages& images, const char* njcon, const char* njtan) {
    std::string error;
    if (!writeFile(njcon, images.settings, error)) {
        return fail("write", njcon, error);
    }
    if (!writeFile(njtan, images.words, error)) {
        // Half a dictionary pair is worse than none.
        std::remove(njcon);
        return fail("write", njtan, error);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (const int status = answerOptions(argc, argv); status >= 0) {
        return status;
    }
    if (argc != 4) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    const char* listPath = argv[1];
    File input(std::fopen(listPath, "rb"));
    if (!input) {
        return fail("open", listPath, std::strerror(errno));
    }
    WordList list;
    std::string error;
    if (!tangor::mkdic::readWordList(input.get(), list, error)) {
        return fail("read", listPath, error);
    }
    for (const LineError& bad : list.errors) {
        std::fprintf(stderr, "%s:%u: %s\n", listPath, bad.line, bad.reason.c_str());
    }
    if (!list.errors.empty()) {
        return 1;
    }
    return writeImages(tangor::mkdic::buildImages(list.entries, list.weighted), argv[2], argv[3]);
}
