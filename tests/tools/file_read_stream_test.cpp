// The stream TagLib reads files through: its reads, seeks and lengths must be those of TagLib's own
// stdio stream, across its read-ahead block and at the file's ends.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <fstream>
#include <string>

#include "FileReadStream.h"
#include "support/TestSupport.h"

namespace tangor::test {
namespace {

using index::FileReadStream;

std::string patternBytes(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>(i % 251 + 1);
    }
    return bytes;
}

std::string writeFile(const TempDir& dir, const std::string& name, const std::string& bytes) {
    const std::string path = dir.file(name);
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

std::string asString(const TagLib::ByteVector& block) {
    return std::string(block.data(), block.size());
}

TEST(FileReadStream, ReadsAndSeeksLikeAFile) {
    const TempDir dir;
    const std::string bytes = patternBytes(10000);
    FileReadStream stream(writeFile(dir, "a.mp3", bytes));
    ASSERT_TRUE(stream.isOpen());
    EXPECT_EQ(stream.length(), 10000);

    struct Step {
        long seekTo;
        TagLib::IOStream::Position from;
        unsigned long length;
        long expectedStart;  // where the bytes read come from; -1: nothing is read
        std::size_t expectedSize;
    };
    const Step steps[] = {
        {0, TagLib::IOStream::Beginning, 10, 0, 10},               // a header, from the read-ahead
        {0, TagLib::IOStream::Current, 4086, 10, 4086},            // up to the block's end exactly
        {4090, TagLib::IOStream::Beginning, 10, 4090, 10},         // across the block's end
        {-128, TagLib::IOStream::End, 128, 9872, 128},             // an ID3v1 tag's place
        {-20, TagLib::IOStream::End, 100, 9980, 20},               // short at the end
        {5, TagLib::IOStream::End, 10, -1, 0},                     // past the end: nothing
        {100, TagLib::IOStream::Beginning, ULONG_MAX, 100, 9900},  // a broken size: what is there
        {-1, TagLib::IOStream::Beginning, 10, 10000, 0},           // before the start: not moved
        {20, TagLib::IOStream::Beginning, 0, -1, 0},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(std::to_string(step.seekTo) + " " + std::to_string(step.length));
        stream.seek(step.seekTo, step.from);
        const long before = stream.tell();
        const std::string got = asString(stream.readBlock(step.length));
        ASSERT_EQ(got.size(), step.expectedSize);
        if (step.expectedStart >= 0) {
            EXPECT_EQ(before, step.expectedStart);
            EXPECT_EQ(
                got, bytes.substr(static_cast<std::size_t>(step.expectedStart), step.expectedSize));
        }
        EXPECT_EQ(stream.tell(), before + static_cast<long>(got.size()));
    }
    EXPECT_EQ(std::string(stream.name()), dir.file("a.mp3"));
}

TEST(FileReadStream, TellsAZeroFilledHead) {
    const TempDir dir;
    const std::size_t head = 64 * 1024;
    struct Case {
        const char* name;
        std::string bytes;
        bool allZero;
    };
    std::string zerosThenByteInside(head, '\0');
    zerosThenByteInside[head - 1] = 'x';
    std::string zerosThenByteAfter(head + 1, '\0');
    zerosThenByteAfter[head] = 'x';
    const Case cases[] = {
        {"empty", "", false},
        {"short zeros", std::string(100, '\0'), true},
        {"a byte in the last place looked at", zerosThenByteInside, false},
        {"a byte just after the head", zerosThenByteAfter, true},
        {"audio", "ID3" + std::string(5000, '\0'), false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        FileReadStream stream(writeFile(dir, "f.mp3", c.bytes));
        EXPECT_EQ(stream.headIsAllZero(head), c.allZero);
        // The check leaves the stream where TagLib expects to start.
        EXPECT_EQ(stream.tell(), 0);
        EXPECT_EQ(asString(stream.readBlock(3)), c.bytes.substr(0, 3));
    }
}

// What opens and what does not: the scan opens a file that was no link when walked without
// following one, so a link put in its place since leads nowhere.
TEST(FileReadStream, OpensAFileAndALinkOnlyWhenAsked) {
    const TempDir dir;
    writeFile(dir, "real.mp3", "ID3");
    ASSERT_EQ(symlink("real.mp3", dir.file("link.mp3").c_str()), 0);
    struct Case {
        const char* name;
        bool followLink;
        int error;  // 0: opens
    };
    const Case cases[] = {{"real.mp3", false, 0},
                          {"link.mp3", true, 0},
                          {"link.mp3", false, ELOOP},
                          {"gone.mp3", true, ENOENT}};
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.name) + (c.followLink ? " followed" : ""));
        FileReadStream stream(dir.file(c.name), c.followLink);
        EXPECT_EQ(stream.isOpen(), c.error == 0);
        EXPECT_EQ(stream.error(), c.error);
        EXPECT_EQ(asString(stream.readBlock(3)), c.error == 0 ? "ID3" : "");
        EXPECT_FALSE(stream.headIsAllZero(64 * 1024));
    }
}

}  // namespace
}  // namespace tangor::test
