#include "SampleTree.h"

#include <fcntl.h>
#include <taglib/flacfile.h>
#include <taglib/id3v1tag.h>
#include <taglib/id3v2framefactory.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/opusfile.h>
#include <taglib/tbytevectorstream.h>
#include <taglib/textidentificationframe.h>
#include <taglib/tpropertymap.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "AudioTemplates.h"
#include "SampleLayout.h"

namespace tangor::sample {

namespace {

TagLib::ByteVector byteVector(const Bytes& bytes) {
    return TagLib::ByteVector(reinterpret_cast<const char*>(bytes.data()),
                              static_cast<unsigned int>(bytes.size()));
}

TagLib::String utf8(const std::string& text) {
    return TagLib::String(text, TagLib::String::UTF8);
}

// The untagged audio of every format, built once: each file starts from a copy.
class Templates {
public:
    Templates()
        : mp3_(byteVector(mp3Silence())),
          flac_(byteVector(flacSilence())),
          m4a_(byteVector(mp4Silence(false))),
          m4b_(byteVector(mp4Silence(true))),
          opus_(byteVector(opusSilence())),
          wav_(byteVector(wavSilence())),
          broken_(byteVector(brokenFlac())) {}

    const TagLib::ByteVector& audio(Format format) const {
        switch (format) {
            case Format::Mp3:
                return mp3_;
            case Format::Flac:
                return flac_;
            case Format::M4a:
                return m4a_;
            case Format::M4b:
                return m4b_;
            case Format::Opus:
                return opus_;
            case Format::Wav:
                break;
        }
        return wav_;
    }
    const TagLib::ByteVector& broken() const { return broken_; }

private:
    TagLib::ByteVector mp3_, flac_, m4a_, m4b_, opus_, wav_, broken_;
};

void setTags(TagLib::File& file, TagLib::Tag& tag, const Tags& tags) {
    tag.setTitle(utf8(tags.title));
    tag.setArtist(utf8(tags.artist));
    tag.setAlbum(utf8(tags.album));
    tag.setGenre(utf8(tags.genre));
    tag.setYear(static_cast<unsigned int>(tags.year));
    tag.setTrack(static_cast<unsigned int>(tags.trackNumber));
    // The generic interface has no composer or disc number; every format maps these keys.
    TagLib::PropertyMap properties = file.properties();
    properties.replace("COMPOSER", utf8(tags.composer));
    properties.replace("DISCNUMBER", TagLib::String::number(tags.discNumber));
    file.setProperties(properties);
}

// `audio` with `tags` written by TagLib, in memory: one write per file then puts it on disk.
// Empty when TagLib cannot save them.
TagLib::ByteVector taggedAudio(const TagLib::ByteVector& audio, Format format, const Tags& tags) {
    TagLib::ByteVectorStream stream(audio);
    bool saved = false;
    switch (format) {
        case Format::Mp3: {
            TagLib::MPEG::File file(&stream, TagLib::ID3v2::FrameFactory::instance(), false);
            setTags(file, *file.ID3v2Tag(true), tags);
            saved = file.isValid() && file.save(TagLib::MPEG::File::ID3v2,
                                                TagLib::File::StripOthers, TagLib::ID3v2::v4);
            break;
        }
        case Format::Flac: {
            TagLib::FLAC::File file(&stream, TagLib::ID3v2::FrameFactory::instance(), false);
            setTags(file, *file.xiphComment(true), tags);
            saved = file.isValid() && file.save();
            break;
        }
        case Format::M4a:
        case Format::M4b: {
            TagLib::MP4::File file(&stream, false);
            setTags(file, *file.tag(), tags);
            saved = file.isValid() && file.save();
            break;
        }
        case Format::Opus: {
            TagLib::Ogg::Opus::File file(&stream, false);
            setTags(file, *file.tag(), tags);
            saved = file.isValid() && file.save();
            break;
        }
        case Format::Wav: {
            // ID3v2 alone: a RIFF INFO chunk has no composer or disc number.
            TagLib::RIFF::WAV::File file(&stream, false);
            setTags(file, *file.ID3v2Tag(), tags);
            saved = file.isValid() && file.save(TagLib::RIFF::WAV::File::ID3v2,
                                                TagLib::File::StripOthers, TagLib::ID3v2::v4);
            break;
        }
    }
    return saved ? *stream.data() : TagLib::ByteVector();
}

// A legacy text's bytes as a TagLib text that a Latin-1 field gives back byte for byte.
TagLib::String latin1(const std::string& bytes) {
    return TagLib::String(bytes, TagLib::String::Latin1);
}

void addLatin1Frame(TagLib::ID3v2::Tag& tag, const char* id, const std::string& bytes) {
    if (bytes.empty()) {
        return;
    }
    auto* frame = new TagLib::ID3v2::TextIdentificationFrame(id, TagLib::String::Latin1);
    frame->setText(latin1(bytes));
    tag.addFrame(frame);  // the tag owns it
}

void setBasicLatin1(TagLib::Tag& tag, const LegacyTexts& bytes) {
    tag.setTitle(latin1(bytes.title));
    tag.setArtist(latin1(bytes.artist));
    tag.setAlbum(latin1(bytes.album));
    tag.setGenre(latin1(bytes.genre));
    tag.setTrack(1);
}

TagLib::ByteVector legacyAudio(const Templates& templates, const LegacyFile& legacy) {
    TagLib::ByteVectorStream stream(templates.audio(Format::Mp3));
    bool saved = false;
    if (legacy.where == LegacyTags::Id3v1Only) {
        TagLib::MPEG::File file(&stream, TagLib::ID3v2::FrameFactory::instance(), false);
        setBasicLatin1(*file.ID3v1Tag(true), legacy.bytes);
        saved = file.isValid() && file.save(TagLib::MPEG::File::ID3v1, TagLib::File::StripOthers);
    } else {
        TagLib::MPEG::File file(&stream, TagLib::ID3v2::FrameFactory::instance(), false);
        TagLib::ID3v2::Tag& tag = *file.ID3v2Tag(true);
        addLatin1Frame(tag, "TIT2", legacy.bytes.title);
        addLatin1Frame(tag, "TPE1", legacy.bytes.artist);
        addLatin1Frame(tag, "TALB", legacy.bytes.album);
        addLatin1Frame(tag, "TCON", legacy.bytes.genre);
        addLatin1Frame(tag, "TCOM", legacy.bytes.composer);
        addLatin1Frame(tag, "TRCK", "1");
        saved = file.isValid() &&
                file.save(TagLib::MPEG::File::ID3v2, TagLib::File::StripOthers, TagLib::ID3v2::v4);
    }
    return saved ? *stream.data() : TagLib::ByteVector();
}

[[noreturn]] void fail(const std::string& what, const std::string& path, int error) {
    throw WriteError("cannot " + what + " " + path + ": " + std::strerror(error));
}

void writeFile(const std::string& path, const char* data, std::size_t size) {
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (descriptor < 0) {
        fail("write", path, errno);
    }
    while (size > 0) {
        const ssize_t written = ::write(descriptor, data, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            const int error = errno;
            ::close(descriptor);
            fail("write", path, error);
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    if (::close(descriptor) != 0) {
        fail("write", path, errno);
    }
}

void writeFile(const std::string& path, const TagLib::ByteVector& bytes) {
    writeFile(path, bytes.data(), bytes.size());
}

void writeFile(const std::string& path, const std::string& text) {
    writeFile(path, text.data(), text.size());
}

// Makes the folders of the files below `root`. Files come folder by folder, so remembering the
// last folder saves nearly every check.
class Folders {
public:
    explicit Folders(std::string root) : root_(std::move(root)) { make(root_); }

    // `relative`, below the root, with its folder made.
    std::string prepare(const std::string& relative) {
        const std::string::size_type slash = relative.rfind('/');
        const std::string folder = slash == std::string::npos ? "" : relative.substr(0, slash);
        if (folder != last_) {
            make(root_ + "/" + folder);
            last_ = folder;
        }
        return root_ + "/" + relative;
    }

private:
    static void make(const std::string& path) {
        std::error_code error;
        std::filesystem::create_directories(path, error);
        if (error) {
            throw WriteError("cannot make folder " + path + ": " + error.message());
        }
    }

    std::string root_;
    std::string last_;
};

void writeAudio(Folders& folders, const Templates& templates, const AudioFile& file) {
    const std::string path = folders.prepare(file.path);
    switch (file.content) {
        case Content::Untagged:
            writeFile(path, templates.audio(file.format));
            return;
        case Content::Broken:
            writeFile(path, templates.broken());
            return;
        case Content::Tagged:
            break;
    }
    const TagLib::ByteVector bytes =
        taggedAudio(templates.audio(file.format), file.format, file.tags);
    if (bytes.isEmpty()) {
        throw WriteError("cannot write the tags of " + path + ": TagLib could not save them");
    }
    writeFile(path, bytes);
}

std::string render(const Playlist& playlist) {
    std::string text;
    int number = 0;
    switch (playlist.style) {
        case PlaylistStyle::ExtendedM3u:
            text = "#EXTM3U\n";
            for (const PlaylistEntry& entry : playlist.entries) {
                text += "#EXTINF:1," + entry.display + "\n" + entry.written + "\n";
            }
            break;
        case PlaylistStyle::WindowsM3u:
            text = "#EXTM3U\r\n";
            for (const PlaylistEntry& entry : playlist.entries) {
                text += entry.written + "\r\n";
            }
            break;
        case PlaylistStyle::Pls:
            text = "[playlist]\n";
            for (const PlaylistEntry& entry : playlist.entries) {
                const std::string key = std::to_string(++number);
                text += "File" + key + "=" + entry.written + "\nTitle" + key + "=" + entry.display +
                        "\nLength" + key + "=1\n";
            }
            text += "NumberOfEntries=" + std::to_string(number) + "\nVersion=2\n";
            break;
        case PlaylistStyle::PlainM3u:
            for (const PlaylistEntry& entry : playlist.entries) {
                text += entry.written + "\n";
            }
            break;
    }
    return text;
}

}  // namespace

TreeCounts writeTree(const std::string& root, int files, bool legacyTags) {
    Folders folders(root);
    const Templates templates;
    for (int index = 0; index < files; ++index) {
        writeAudio(folders, templates, audioFile(index));
    }
    for (const AudioFile& file : hiddenFiles()) {
        writeAudio(folders, templates, file);
    }
    writeFile(folders.prepare(notesFile),
              std::string("Sample music library written by make-sample-library: not audio.\n"));
    const std::vector<Playlist> lists = playlists();
    for (const Playlist& playlist : lists) {
        writeFile(folders.prepare(playlist.path), render(playlist));
    }
    int playlistCount = static_cast<int>(lists.size());
    if (legacyTags) {
        for (const LegacyFile& legacy : legacyFiles()) {
            const std::string path = folders.prepare(legacy.path);
            const TagLib::ByteVector bytes = legacyAudio(templates, legacy);
            if (bytes.isEmpty()) {
                throw WriteError("cannot write the tags of " + path +
                                 ": TagLib could not save them");
            }
            writeFile(path, bytes);
        }
        for (const LegacyPlaylist& playlist : legacyPlaylists()) {
            writeFile(folders.prepare(playlist.path), playlist.bytes);
            ++playlistCount;
        }
    }
    return TreeCounts{files, playlistCount};
}

}  // namespace tangor::sample
