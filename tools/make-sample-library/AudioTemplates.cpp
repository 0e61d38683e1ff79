#include "AudioTemplates.h"

#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <string_view>

namespace tangor::sample {

namespace {

// Appends fixed-width fields; every value is cut to its width explicitly, so the layout is the
// same on 32- and 64-bit machines.
class ByteWriter {
public:
    void u8(std::uint32_t value) { bytes_.push_back(static_cast<std::uint8_t>(value & 0xFF)); }
    void be16(std::uint32_t value) {
        u8(value >> 8);
        u8(value);
    }
    void be24(std::uint32_t value) {
        u8(value >> 16);
        be16(value);
    }
    void be32(std::uint32_t value) {
        be16(value >> 16);
        be16(value);
    }
    void be64(std::uint64_t value) {
        be32(static_cast<std::uint32_t>(value >> 32));
        be32(static_cast<std::uint32_t>(value));
    }
    void le16(std::uint32_t value) {
        u8(value);
        u8(value >> 8);
    }
    void le32(std::uint32_t value) {
        le16(value);
        le16(value >> 16);
    }
    void le64(std::uint64_t value) {
        le32(static_cast<std::uint32_t>(value));
        le32(static_cast<std::uint32_t>(value >> 32));
    }
    void text(std::string_view text) { bytes_.insert(bytes_.end(), text.begin(), text.end()); }
    void append(const Bytes& bytes) { bytes_.insert(bytes_.end(), bytes.begin(), bytes.end()); }
    void fill(std::size_t count, std::uint8_t value) { bytes_.insert(bytes_.end(), count, value); }

    std::size_t size() const { return bytes_.size(); }
    const Bytes& bytes() const { return bytes_; }

private:
    Bytes bytes_;
};

// CRC of `bytes` with the given polynomial, most significant bit first, starting at zero and
// without a final inversion: the variant FLAC (8 and 16 bits) and Ogg (32 bits) use.
template <int Width>
std::uint32_t crc(const std::uint8_t* bytes, std::size_t length, std::uint32_t polynomial) {
    constexpr std::uint32_t top = std::uint32_t{1} << (Width - 1);
    constexpr std::uint32_t mask = Width == 32 ? 0xFFFFFFFFu : (std::uint32_t{1} << Width) - 1;
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < length; ++i) {
        value ^= std::uint32_t{bytes[i]} << (Width - 8);
        for (int bit = 0; bit < 8; ++bit) {
            value = (value & top) ? (value << 1) ^ polynomial : value << 1;
        }
        value &= mask;
    }
    return value;
}

// ---- MPEG audio

constexpr std::uint32_t kMp3Bitrate = 32000;
constexpr std::uint32_t kMp3SampleRate = 44100;
constexpr int kMp3Frames = 39;  // 39 * 1152 samples: 1.02 s

// ---- FLAC

constexpr std::uint32_t kFlacBlockSize = 4096;
constexpr std::uint32_t kFlacSampleRate = 44100;
constexpr std::uint32_t kFlacChannels = 2;
constexpr std::uint32_t kFlacBitsPerSample = 16;
constexpr int kFlacFrames = 11;  // 45056 samples: 1.02 s

// One frame of digital silence: a constant subframe of value 0 per channel.
Bytes flacFrame(std::uint32_t number) {
    ByteWriter frame;
    frame.be16(0xFFF8);  // sync code, fixed block size
    frame.u8(0xC9);      // block size 4096 (code 12), sample rate 44.1 kHz (code 9)
    frame.u8(0x18);      // two independent channels, 16 bits per sample
    frame.u8(number);    // frame numbers below 128 take one byte in FLAC's UTF-8 coding
    frame.u8(crc<8>(frame.bytes().data(), frame.size(), 0x07));
    for (std::uint32_t channel = 0; channel < kFlacChannels; ++channel) {
        frame.u8(0x00);  // constant subframe, no wasted bits
        frame.be16(0);   // the sample value
    }
    frame.be16(crc<16>(frame.bytes().data(), frame.size(), 0x8005));
    return frame.bytes();
}

// ---- MP4

constexpr std::uint32_t kAacSampleRate = 44100;
constexpr std::uint32_t kAacFrameSamples = 1024;
constexpr std::uint32_t kAacFrames = 44;  // 45056 samples: 1.02 s
// A raw AAC-LC frame for one channel: a single channel element with no scale factor bands
// (global gain 160), then the end element. It decodes to silence.
constexpr std::uint8_t kAacSilentFrame[] = {0x01, 0x40, 0x20, 0x07};

Bytes box(std::string_view type, const Bytes& payload) {
    ByteWriter out;
    out.be32(static_cast<std::uint32_t>(8 + payload.size()));
    out.text(type);
    out.append(payload);
    return out.bytes();
}

Bytes fullBox(std::string_view type, std::uint32_t flags, const Bytes& payload) {
    ByteWriter out;
    out.be32(flags & 0xFFFFFF);  // version 0
    out.append(payload);
    return box(type, out.bytes());
}

Bytes concat(std::initializer_list<Bytes> parts) {
    ByteWriter out;
    for (const Bytes& part : parts) {
        out.append(part);
    }
    return out.bytes();
}

void unityMatrix(ByteWriter& out) {
    const std::uint32_t matrix[9] = {0x00010000, 0, 0, 0, 0x00010000, 0, 0, 0, 0x40000000};
    for (const std::uint32_t value : matrix) {
        out.be32(value);
    }
}

Bytes fileTypeBox(bool audiobook) {
    const std::string_view brand = audiobook ? "M4B " : "M4A ";
    ByteWriter out;
    out.text(brand);
    out.be32(0);  // minor version
    out.text(brand);
    out.text("mp42");
    out.text("isom");
    return box("ftyp", out.bytes());
}

Bytes movieHeader(std::uint32_t duration) {
    ByteWriter out;
    out.be32(0);  // creation and modification times: none, so every run gives the same bytes
    out.be32(0);
    out.be32(kAacSampleRate);
    out.be32(duration);
    out.be32(0x00010000);  // rate 1.0
    out.be16(0x0100);      // volume 1.0
    out.fill(10, 0);
    unityMatrix(out);
    out.fill(24, 0);
    out.be32(2);  // next track ID
    return fullBox("mvhd", 0, out.bytes());
}

Bytes trackHeader(std::uint32_t duration) {
    ByteWriter out;
    out.be32(0);
    out.be32(0);
    out.be32(1);  // track ID
    out.be32(0);
    out.be32(duration);
    out.fill(8, 0);
    out.be16(0);       // layer
    out.be16(0);       // alternate group
    out.be16(0x0100);  // volume 1.0
    out.be16(0);
    unityMatrix(out);
    out.be32(0);  // width and height: none for sound
    out.be32(0);
    return fullBox("tkhd", 0x000003, out.bytes());  // enabled, in movie
}

Bytes mediaHeader(std::uint32_t duration) {
    ByteWriter out;
    out.be32(0);
    out.be32(0);
    out.be32(kAacSampleRate);
    out.be32(duration);
    out.be16(0x55C4);  // "und", five bits per letter
    out.be16(0);
    return fullBox("mdhd", 0, out.bytes());
}

Bytes handler() {
    ByteWriter out;
    out.be32(0);
    out.text("soun");
    out.fill(12, 0);
    out.text("SoundHandler");
    out.u8(0);
    return fullBox("hdlr", 0, out.bytes());
}

// The elementary stream descriptor: MPEG-4 audio, AAC-LC, 44.1 kHz, one channel.
Bytes elementaryStreamDescriptor() {
    const std::uint32_t bytes = kAacFrames * sizeof kAacSilentFrame;
    const std::uint32_t bitrate = bytes * 8 * kAacSampleRate / (kAacFrames * kAacFrameSamples);
    ByteWriter decoderConfig;
    decoderConfig.u8(0x40);  // MPEG-4 audio
    decoderConfig.u8(0x15);  // audio stream
    decoderConfig.be24(sizeof kAacSilentFrame);
    decoderConfig.be32(bitrate);
    decoderConfig.be32(bitrate);
    decoderConfig.u8(0x05);  // decoder specific info: the AudioSpecificConfig
    decoderConfig.u8(2);
    decoderConfig.u8(0x12);  // object type 2 (LC), frequency index 4 (44.1 kHz),
    decoderConfig.u8(0x08);  // channel configuration 1
    ByteWriter stream;
    stream.be16(0);  // ES ID
    stream.u8(0);    // no dependency, URL or OCR stream
    stream.u8(0x04);
    stream.u8(static_cast<std::uint32_t>(decoderConfig.size()));
    stream.append(decoderConfig.bytes());
    stream.u8(0x06);  // SL config: predefined for MP4
    stream.u8(1);
    stream.u8(0x02);
    ByteWriter out;
    out.u8(0x03);
    out.u8(static_cast<std::uint32_t>(stream.size()));
    out.append(stream.bytes());
    return fullBox("esds", 0, out.bytes());
}

Bytes sampleDescription() {
    ByteWriter entry;
    entry.fill(6, 0);
    entry.be16(1);  // data reference index
    entry.fill(8, 0);
    entry.be16(1);   // channels
    entry.be16(16);  // sample size
    entry.be16(0);
    entry.be16(0);
    entry.be32(kAacSampleRate << 16);
    entry.append(elementaryStreamDescriptor());
    ByteWriter out;
    out.be32(1);
    out.append(box("mp4a", entry.bytes()));
    return fullBox("stsd", 0, out.bytes());
}

// The sample tables: every frame in one chunk at `dataOffset`.
Bytes sampleTable(std::uint32_t dataOffset) {
    ByteWriter times;
    times.be32(1);
    times.be32(kAacFrames);
    times.be32(kAacFrameSamples);
    ByteWriter chunks;
    chunks.be32(1);
    chunks.be32(1);  // first chunk
    chunks.be32(kAacFrames);
    chunks.be32(1);  // sample description
    ByteWriter sizes;
    sizes.be32(sizeof kAacSilentFrame);
    sizes.be32(kAacFrames);
    ByteWriter offsets;
    offsets.be32(1);
    offsets.be32(dataOffset);
    return box("stbl",
               concat({sampleDescription(), fullBox("stts", 0, times.bytes()),
                       fullBox("stsc", 0, chunks.bytes()), fullBox("stsz", 0, sizes.bytes()),
                       fullBox("stco", 0, offsets.bytes())}));
}

Bytes movie(std::uint32_t dataOffset) {
    const std::uint32_t duration = kAacFrames * kAacFrameSamples;
    ByteWriter soundHeader;
    soundHeader.be32(0);  // balance, reserved
    ByteWriter references;
    references.be32(1);
    references.append(fullBox("url ", 1, {}));  // the data is in this file
    const Bytes mediaInformation =
        box("minf",
            concat({fullBox("smhd", 0, soundHeader.bytes()),
                    box("dinf", fullBox("dref", 0, references.bytes())), sampleTable(dataOffset)}));
    const Bytes media = box("mdia", concat({mediaHeader(duration), handler(), mediaInformation}));
    return box("moov", concat({movieHeader(duration),
                               box("trak", concat({trackHeader(duration), media}))}));
}

// ---- Ogg

constexpr std::uint32_t kOggSerial = 0x7A6E6772;
constexpr std::uint32_t kOpusPreSkip = 312;
constexpr std::uint32_t kOpusPackets = 51;  // 20 ms each: 1.02 s
// A CELT-only, fullband, 20 ms, mono packet that decodes to silence.
constexpr std::uint8_t kOpusSilentPacket[] = {0xF8, 0xFF, 0xFE};

void oggPage(ByteWriter& out, std::uint8_t flags, std::uint64_t granule, std::uint32_t sequence,
             const std::vector<Bytes>& packets) {
    ByteWriter page;
    page.text("OggS");
    page.u8(0);  // version
    page.u8(flags);
    page.le64(granule);
    page.le32(kOggSerial);
    page.le32(sequence);
    page.le32(0);  // the CRC, computed over the page with this field zero
    ByteWriter lacing;
    for (const Bytes& packet : packets) {
        std::size_t left = packet.size();
        for (; left >= 255; left -= 255) {
            lacing.u8(255);
        }
        lacing.u8(static_cast<std::uint32_t>(left));
    }
    page.u8(static_cast<std::uint32_t>(lacing.size()));
    page.append(lacing.bytes());
    for (const Bytes& packet : packets) {
        page.append(packet);
    }
    Bytes bytes = page.bytes();
    const std::uint32_t checksum = crc<32>(bytes.data(), bytes.size(), 0x04C11DB7);
    for (int i = 0; i < 4; ++i) {
        bytes[22 + i] = static_cast<std::uint8_t>((checksum >> (8 * i)) & 0xFF);
    }
    out.append(bytes);
}

}  // namespace

Bytes mp3Silence() {
    // Zero side information and main data: no bits to decode, so every frame is silent.
    constexpr std::size_t frameLength = 144 * kMp3Bitrate / kMp3SampleRate;  // 104, no padding
    ByteWriter out;
    for (int i = 0; i < kMp3Frames; ++i) {
        out.be32(0xFFFB10C4);  // MPEG-1 Layer III, no CRC, 32 kbit/s, 44.1 kHz, mono, original
        out.fill(frameLength - 4, 0);
    }
    return out.bytes();
}

Bytes flacSilence() {
    const std::uint32_t frameSize = static_cast<std::uint32_t>(flacFrame(0).size());
    const std::uint64_t samples = std::uint64_t{kFlacBlockSize} * kFlacFrames;
    ByteWriter out;
    out.text("fLaC");
    out.u8(0x80);  // last metadata block, STREAMINFO
    out.be24(34);
    out.be16(kFlacBlockSize);
    out.be16(kFlacBlockSize);
    out.be24(frameSize);
    out.be24(frameSize);
    out.be64(std::uint64_t{kFlacSampleRate} << 44 | std::uint64_t{kFlacChannels - 1} << 41 |
             std::uint64_t{kFlacBitsPerSample - 1} << 36 | samples);
    out.fill(16, 0);  // no MD5 signature
    for (int i = 0; i < kFlacFrames; ++i) {
        out.append(flacFrame(static_cast<std::uint32_t>(i)));
    }
    return out.bytes();
}

Bytes mp4Silence(bool audiobook) {
    const Bytes fileType = fileTypeBox(audiobook);
    // The chunk offset points past the media data box's header; the box sizes do not depend on it.
    const std::uint32_t dataOffset =
        static_cast<std::uint32_t>(fileType.size() + movie(0).size() + 8);
    ByteWriter data;
    for (std::uint32_t i = 0; i < kAacFrames; ++i) {
        data.append(Bytes(std::begin(kAacSilentFrame), std::end(kAacSilentFrame)));
    }
    return concat({fileType, movie(dataOffset), box("mdat", data.bytes())});
}

Bytes opusSilence() {
    ByteWriter head;
    head.text("OpusHead");
    head.u8(1);  // version
    head.u8(1);  // channels
    head.le16(kOpusPreSkip);
    head.le32(48000);  // input sample rate
    head.le16(0);      // output gain
    head.u8(0);        // mapping family: mono or stereo
    ByteWriter tags;
    tags.text("OpusTags");
    constexpr std::string_view vendor = "make-sample-library";
    tags.le32(static_cast<std::uint32_t>(vendor.size()));
    tags.text(vendor);
    tags.le32(0);  // no comments yet
    const std::vector<Bytes> audio(
        kOpusPackets, Bytes(std::begin(kOpusSilentPacket), std::end(kOpusSilentPacket)));
    ByteWriter out;
    oggPage(out, 0x02, 0, 0, {head.bytes()});  // beginning of stream
    oggPage(out, 0x00, 0, 1, {tags.bytes()});
    oggPage(out, 0x04, std::uint64_t{kOpusPackets} * 960, 2, audio);  // end of stream
    return out.bytes();
}

Bytes wavSilence() {
    constexpr std::uint32_t rate = 8000;
    ByteWriter out;
    out.text("RIFF");
    out.le32(4 + (8 + 16) + (8 + rate));
    out.text("WAVE");
    out.text("fmt ");
    out.le32(16);
    out.le16(1);  // PCM
    out.le16(1);  // channels
    out.le32(rate);
    out.le32(rate);  // bytes per second
    out.le16(1);     // block alignment
    out.le16(8);     // bits per sample
    out.text("data");
    out.le32(rate);
    out.fill(rate, 0x80);  // unsigned 8-bit samples: 0x80 is the zero line
    return out.bytes();
}

Bytes brokenFlac() {
    ByteWriter out;
    out.text("fLaC");
    out.u8(0x04);  // Vorbis comment, more blocks to follow
    out.be24(0xFFFFFF);
    constexpr std::string_view vendor = "make-sample-library";
    out.le32(static_cast<std::uint32_t>(vendor.size()));
    out.text(vendor);
    out.le32(1);
    out.le32(0x7FFFFFFF);  // a comment longer than the file
    out.text("TITLE=cut");
    return out.bytes();
}

}  // namespace tangor::sample
