#include "TagReader.h"

#include "LegacyTagHandlers.h"

#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mp4tag.h>
#include <taglib/mpegfile.h>
#include <taglib/tag.h>
#include <taglib/tpropertymap.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>

#include <climits>
#include <cstdlib>

#include "AudioHead.h"
#include "FileReadStream.h"
#include "FileSystem.h"

namespace tangor::index {

namespace {

// "3" and "3/12" both give 3; anything that does not start with a number gives 0.
int leadingNumber(const TagLib::String& value) {
    const std::string text = value.to8Bit(true);
    char* end = nullptr;
    const long number = std::strtol(text.c_str(), &end, 10);
    if (end == text.c_str() || number < 0 || number > INT_MAX) {
        return 0;
    }
    return static_cast<int>(number);
}

// Composer and disc number are not in TagLib's common interface. The generic property map has
// them, but builds every field of the tag to get there, so the usual tag kinds are read directly.
void readId3v2Extras(const TagLib::ID3v2::Tag& tag, Tags& tags) {
    const TagLib::ID3v2::FrameListMap& frames = tag.frameListMap();
    const auto composer = frames.find("TCOM");
    if (composer != frames.end() && !composer->second.isEmpty()) {
        tags.composer = composer->second.front()->toString().to8Bit(true);
    }
    const auto disc = frames.find("TPOS");
    if (disc != frames.end() && !disc->second.isEmpty()) {
        tags.discNumber = leadingNumber(disc->second.front()->toString());
    }
}

// Xiph comments and the generic property map both keep lists of texts under these names.
template <typename TextListMap>
void readNamedExtras(const TextListMap& fields, Tags& tags) {
    const auto composer = fields.find("COMPOSER");
    if (composer != fields.end() && !composer->second.isEmpty()) {
        tags.composer = composer->second.front().to8Bit(true);
    }
    const auto disc = fields.find("DISCNUMBER");
    if (disc != fields.end() && !disc->second.isEmpty()) {
        tags.discNumber = leadingNumber(disc->second.front());
    }
}

void readMp4Extras(const TagLib::MP4::Tag& tag, Tags& tags) {
    if (tag.contains("\251wrt")) {
        const TagLib::StringList composers = tag.item("\251wrt").toStringList();
        if (!composers.isEmpty()) {
            tags.composer = composers.front().to8Bit(true);
        }
    }
    if (tag.contains("disk")) {
        const int disc = tag.item("disk").toIntPair().first;
        tags.discNumber = disc > 0 ? disc : 0;
    }
}

template <typename FileType>
const TagLib::ID3v2::Tag* id3v2TagOf(TagLib::File* file) {
    auto* typed = dynamic_cast<FileType*>(file);
    return typed && typed->hasID3v2Tag() ? typed->ID3v2Tag() : nullptr;
}

void readExtras(TagLib::File* file, Tags& tags) {
    if (const auto* id3v2 = id3v2TagOf<TagLib::MPEG::File>(file)) {
        readId3v2Extras(*id3v2, tags);
    } else if (const auto* wav = id3v2TagOf<TagLib::RIFF::WAV::File>(file)) {
        readId3v2Extras(*wav, tags);
    } else if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file);
               flac && flac->hasXiphComment()) {
        readNamedExtras(flac->xiphComment()->fieldListMap(), tags);
    } else if (const auto* xiph = dynamic_cast<const TagLib::Ogg::XiphComment*>(file->tag())) {
        readNamedExtras(xiph->fieldListMap(), tags);  // Ogg Vorbis, Opus, Speex and FLAC
    } else if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(file); mp4 && mp4->hasMP4Tag()) {
        readMp4Extras(*mp4->tag(), tags);
    } else {
        readNamedExtras(file->properties(), tags);
    }
}

int clampedTrack(unsigned int track) {
    return track > static_cast<unsigned int>(INT_MAX) ? 0 : static_cast<int>(track);
}

}  // namespace

TagResult readTags(const std::string& path, Tags& tags, bool followLink) {
    FileReadStream stream(path, followLink);
    if (stream.headIsAllZero(kAudioHeadBytes)) {
        return TagResult::NotAudio;
    }
    legacy::beginFile();  // legacy encodings: LegacyTagHandlers.h
    // Audio properties are not needed, and reading them costs a scan of the stream. TagLib picks
    // the format by the stream's name, as it would by the path.
    const TagLib::FileRef file(&stream, false);
    if (!stream.isOpen() || file.isNull() || !file.file()->isValid() || file.tag() == nullptr) {
        // statx, not stat: a 32-bit stat fails on a file of 2 GiB or more as if it were gone.
        const bool gone = fileStatus(path).type == FileStatus::Type::Missing;
        return gone ? TagResult::Vanished : TagResult::Unreadable;
    }
    const TagLib::Tag& tag = *file.tag();
    tags.title = tag.title().to8Bit(true);
    tags.artist = tag.artist().to8Bit(true);
    tags.album = tag.album().to8Bit(true);
    tags.genre = tag.genre().to8Bit(true);
    tags.trackNumber = clampedTrack(tag.track());
    readExtras(file.file(), tags);
    // legacy encodings: the texts TagLib read as Latin-1, in the file's encoding
    legacy::endFile({&tags.title, &tags.artist, &tags.album, &tags.genre, &tags.composer});
    return TagResult::Read;
}

}  // namespace tangor::index
