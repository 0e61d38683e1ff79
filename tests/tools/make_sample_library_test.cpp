// The generator's own promises; what its playlists resolve to is checked by the indexer's tests.

#include <taglib/fileref.h>
#include <taglib/tag.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "make-sample-library/SampleLayout.h"
#include "support/TestSupport.h"

namespace tangor::test {

namespace {

namespace fs = std::filesystem;

std::map<std::string, std::string> treeFiles(const std::string& root) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (entry.is_regular_file()) {
            files[fs::relative(entry.path(), root).generic_string()] =
                readFile(entry.path().string());
        }
    }
    return files;
}

TEST(MakeSampleLibrary, WritesTheDocumentedFilesTheSameWayEachTime) {
    TempDir dir;
    for (const char* tree : {"a", "b"}) {
        const ProgramResult made =
            runProgram({TANGOR_MAKE_SAMPLE_LIBRARY, dir.file(tree), "--files", "12"});
        ASSERT_EQ(made.status, 0) << made.standardError;
    }
    const auto files = treeFiles(dir.file("a"));
    EXPECT_TRUE(files == treeFiles(dir.file("b")));
    EXPECT_EQ(files.size(), 12u + 3 + 4);  // hidden and text files, playlists

    std::vector<sample::AudioFile> audio = sample::hiddenFiles();
    for (int index = 0; index < 12; ++index) {
        audio.push_back(sample::audioFile(index));
    }
    for (const sample::AudioFile& file : audio) {
        ASSERT_EQ(files.count(file.path), 1u) << file.path;
        const TagLib::FileRef ref(dir.file("a/" + file.path).c_str());
        const bool valid = !ref.isNull() && ref.file()->isValid();
        EXPECT_EQ(valid, file.content != sample::Content::Broken) << file.path;
        if (valid) {
            ASSERT_NE(ref.audioProperties(), nullptr) << file.path;
            EXPECT_EQ(ref.audioProperties()->lengthInSeconds(), 1) << file.path;
            EXPECT_EQ(ref.tag()->title().to8Bit(true), file.tags.title) << file.path;
            EXPECT_EQ(ref.tag()->artist().to8Bit(true), file.tags.artist) << file.path;
        }
    }
}

TEST(MakeSampleLibrary, FailuresExitWithOneLine) {
    TempDir dir;
    writeFile(dir.file("plain"), "a file, not a folder");
    const std::pair<std::vector<std::string>, int> runs[] = {
        {{}, 2},
        {{dir.file("t"), "--files", "11"}, 2},
        {{dir.file("t"), "--files", "12x"}, 2},
        {{dir.file("plain/tree")}, 1},
    };
    for (const auto& [arguments, status] : runs) {
        std::vector<std::string> command{TANGOR_MAKE_SAMPLE_LIBRARY};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const ProgramResult result = runProgram(command);
        EXPECT_EQ(result.status, status) << result.standardError;
        EXPECT_EQ(result.standardError.find('\n'), result.standardError.size() - 1)
            << result.standardError;
        if (status == 1) {
            EXPECT_NE(result.standardError.find(arguments.front()), std::string::npos);
        }
    }
    EXPECT_FALSE(exists(dir.file("t")));
}

}  // namespace

}  // namespace tangor::test
