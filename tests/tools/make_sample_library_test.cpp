#include <taglib/audioproperties.h>
#include <taglib/fileref.h>
#include <taglib/tag.h>
#include <taglib/tpropertymap.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "make-sample-library/SampleLayout.h"
#include "support/TestSupport.h"

namespace tangor::test {

namespace {

namespace fs = std::filesystem;

ProgramResult makeLibrary(const std::string& root, const std::string& files) {
    return runProgram({TANGOR_MAKE_SAMPLE_LIBRARY, root, "--files", files});
}

// Every regular file below `root` by its "/"-separated path relative to `root`, with its bytes.
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

bool isVisibleAudio(const std::string& path) {
    static const std::set<std::string> extensions = {".mp3", ".flac", ".m4a",
                                                     ".m4b", ".opus", ".wav"};
    const bool hidden = path[0] == '.' || path.find("/.") != std::string::npos;
    return !hidden && extensions.count(fs::path(path).extension().string()) != 0;
}

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

// The tags as "title|artist|album|genre|composer|track|disc|year", from TagLib or the layout.
std::string tagLine(const TagLib::FileRef& file) {
    const TagLib::Tag& tag = *file.tag();
    const TagLib::PropertyMap properties = file.file()->properties();
    const auto property = [&](const char* key) {
        return properties.contains(key) ? properties[key].toString().to8Bit(true) : std::string();
    };
    return tag.title().to8Bit(true) + "|" + tag.artist().to8Bit(true) + "|" +
           tag.album().to8Bit(true) + "|" + tag.genre().to8Bit(true) + "|" + property("COMPOSER") +
           "|" + std::to_string(tag.track()) + "|" + property("DISCNUMBER") + "|" +
           std::to_string(tag.year());
}

std::string tagLine(const sample::Tags& tags) {
    return tags.title + "|" + tags.artist + "|" + tags.album + "|" + tags.genre + "|" +
           tags.composer + "|" + std::to_string(tags.track) + "|" +
           (tags.disc ? std::to_string(tags.disc) : "") + "|" + std::to_string(tags.year);
}

TEST(MakeSampleLibrary, WritesTheDocumentedTreeOfFilesTagLibReads) {
    TempDir dir;
    const ProgramResult result = makeLibrary(dir.path(), "12");
    ASSERT_EQ(result.status, 0) << result.standardError;
    EXPECT_EQ(result.standardError, "");

    // Paths the layout's comment spells out.
    const std::pair<int, const char*> documented[] = {
        {7, "Amber Rivers/Morning Roads/01 Silent Morning.mp3"},
        {8, "Amber Rivers/Morning Roads/02 Golden Heart.flac"},
        {9, "Amber Rivers/Morning Roads/03 Open Road.m4a"},
        {10, "Amber Rivers/Morning Roads/04 Falling Sky.opus"},
        {11, "Amber Rivers/Morning Roads/05 Neon Rain.wav"},
    };
    for (const auto& [index, path] : documented) {
        EXPECT_EQ(sample::audioFile(index).path, path);
    }

    std::set<std::string> expected;
    std::vector<sample::AudioFile> files = sample::hiddenFiles();
    for (int index = 0; index < 12; ++index) {
        files.push_back(sample::audioFile(index));
        expected.insert(files.back().path);
    }
    std::set<std::string> visible;
    for (const auto& entry : treeFiles(dir.path())) {
        if (isVisibleAudio(entry.first)) {
            visible.insert(entry.first);
        }
    }
    EXPECT_EQ(visible, expected);

    for (const sample::AudioFile& file : files) {
        const TagLib::FileRef ref(dir.file(file.path).c_str());
        if (file.content == sample::Content::Broken) {
            EXPECT_TRUE(ref.isNull() || !ref.file()->isValid()) << file.path;
            continue;
        }
        ASSERT_TRUE(!ref.isNull() && ref.file()->isValid()) << file.path;
        const TagLib::AudioProperties* audio = ref.audioProperties();
        ASSERT_NE(audio, nullptr) << file.path;
        EXPECT_EQ(audio->lengthInSeconds(), 1) << file.path;
        EXPECT_GE(audio->sampleRate(), 8000) << file.path;
        // The untagged file reads as empty tags, with no property at all.
        EXPECT_EQ(tagLine(ref), tagLine(file.tags)) << file.path;
        EXPECT_EQ(ref.file()->properties().isEmpty(), file.content == sample::Content::Untagged)
            << file.path;
    }

    // Each entry names the file the layout gives, with letter case ignored only where it says so.
    int entries = 0;
    int exact = 0;
    int otherCase = 0;
    for (const sample::Playlist& playlist : sample::playlists()) {
        const std::string content = readFile(dir.file(playlist.path));
        const bool windows = playlist.style == sample::PlaylistStyle::WindowsM3u;
        EXPECT_EQ(occurrences(content, "\r\n"), windows ? occurrences(content, "\n") : 0);
        const fs::path folder = fs::path(playlist.path).parent_path();
        for (const sample::PlaylistEntry& entry : playlist.entries) {
            ++entries;
            EXPECT_NE(content.find(entry.written + (windows ? "\r\n" : "\n")), std::string::npos)
                << entry.written;
            std::string written = entry.written;
            std::replace(written.begin(), written.end(), '\\', '/');
            const std::string target = (folder / written).lexically_normal().generic_string();
            const bool found = exists(dir.file(target));
            EXPECT_EQ(found, entry.file >= 0 && !entry.otherCase) << entry.written;
            exact += found;
            if (entry.file >= 0) {
                otherCase += entry.otherCase;
                const std::string path = sample::audioFile(entry.file).path;
                EXPECT_EQ(lower(target), lower(path)) << entry.written;
                EXPECT_EQ(target == path, !entry.otherCase) << entry.written;
            }
        }
    }
    EXPECT_EQ(sample::playlists().size(), 4u);
    EXPECT_EQ(entries, 13);
    EXPECT_EQ(exact, 11);
    EXPECT_EQ(otherCase, 1);
}

TEST(MakeSampleLibrary, SameCountGivesSameBytesAndFailuresExitWithOneLine) {
    TempDir dir;
    ASSERT_EQ(makeLibrary(dir.file("a"), "23").status, 0);
    // A second run over an existing tree replaces what is there.
    const std::string untagged = dir.file("a/") + sample::untaggedTrack;
    writeFile(untagged, std::string(20000, 'x'));
    ASSERT_EQ(makeLibrary(dir.file("a"), "23").status, 0);
    ASSERT_EQ(makeLibrary(dir.file("b"), "23").status, 0);
    const auto first = treeFiles(dir.file("a"));
    const auto second = treeFiles(dir.file("b"));
    EXPECT_EQ(first.size(), 23u + 3 + 4);  // hidden and text files, playlists
    // Bytes are not printed: a difference names the file.
    std::vector<std::string> different;
    for (const auto& [path, bytes] : first) {
        if (second.count(path) == 0 || second.at(path) != bytes) {
            different.push_back(path);
        }
    }
    EXPECT_EQ(different, std::vector<std::string>{});
    EXPECT_EQ(first.size(), second.size());

    // Wrong usage exits with 2, a file or folder it cannot write with 1 and names it.
    const std::string fresh = dir.file("fresh");
    writeFile(dir.file("plain"), "a file, not a folder");
    fs::create_directories(dir.file("c/Misc/notes.txt"));
    struct Failure {
        std::vector<std::string> arguments;
        int status;
        std::string named;
    };
    const Failure failures[] = {
        {{}, 2, ""},
        {{fresh, "--files"}, 2, ""},
        {{fresh, "--files", "11"}, 2, ""},
        {{fresh, "--files", "1000001"}, 2, ""},
        {{fresh, "--files", "-12"}, 2, ""},
        {{fresh, "--files", "12x"}, 2, ""},
        {{fresh, "other"}, 2, ""},
        {{"--size", fresh}, 2, ""},
        {{dir.file("plain/tree")}, 1, dir.file("plain/tree")},
        {{dir.file("c")}, 1, dir.file("c/Misc/notes.txt")},
    };
    for (const Failure& failure : failures) {
        std::vector<std::string> command{TANGOR_MAKE_SAMPLE_LIBRARY};
        command.insert(command.end(), failure.arguments.begin(), failure.arguments.end());
        const ProgramResult result = runProgram(command);
        const std::string& message = result.standardError;
        EXPECT_EQ(result.status, failure.status) << message;
        EXPECT_TRUE(occurrences(message, "\n") == 1 && message.back() == '\n') << message;
        EXPECT_NE(message.find(failure.named + (failure.named.empty() ? "" : ": ")),
                  std::string::npos)
            << message;
    }
    EXPECT_FALSE(exists(fresh));
}

}  // namespace

}  // namespace tangor::test
