// Building a track record against its floor: the seven MD5 digests a record cannot do without,
// taken with the same GLib call on the same texts in the same run. Target: a record costs at most
// 1.3 times its seven digests.
#include <tangor/metadata/MetaDataInfo.h>

#include <benchmark/benchmark.h>
#include <glib.h>

#include <string>

namespace {

using corvina::MetaDataInfo;
using corvina::StrippedValue;

// 80 bytes, a typical path below a mount point, with short tags.
const std::string kPath =
    "Music/The Night Quartet/Blue Hours (Deluxe Edition)/1 - Slow Rain (Remaster).mp3";
const std::string kDirectory = kPath.substr(0, kPath.rfind('/'));
const std::string kMountPoint = "/media/usb1";
const std::string kTitle = "Slow Rain";
const std::string kArtist = "The Night Quartet";
const std::string kAlbum = "Blue Hours";
const std::string kGenre = "Jazz";
const std::string kComposer = "J. Doe";

StrippedValue view(const std::string& text) {
    return corvina::trim(text.c_str(), static_cast<unsigned>(text.size()));
}

void sevenDigests(benchmark::State& state) {
    const std::string* const texts[] = {&kPath,     &kArtist,    &kAlbum,     &kGenre,
                                        &kComposer, &kDirectory, &kMountPoint};
    for (auto _ : state) {
        for (const std::string* text : texts) {
            gchar* digest = g_compute_checksum_for_data(
                G_CHECKSUM_MD5, reinterpret_cast<const guchar*>(text->data()), text->size());
            benchmark::DoNotOptimize(digest);
            g_free(digest);
        }
    }
}
BENCHMARK(sevenDigests)->Name("MetaDataInfo_strings_floor");
BENCHMARK(sevenDigests)->Name("MetaDataInfo_stripped_floor");

void MetaDataInfo_strings(benchmark::State& state) {
    for (auto _ : state) {
        MetaDataInfo info(kPath, kMountPoint, kTitle, kArtist, kAlbum, kGenre, kComposer, 1, 1, 0);
        benchmark::DoNotOptimize(info);
    }
}
BENCHMARK(MetaDataInfo_strings);

void MetaDataInfo_stripped(benchmark::State& state) {
    const StrippedValue tags[] = {view(kTitle), view(kArtist), view(kAlbum), view(kGenre),
                                  view(kComposer)};
    for (auto _ : state) {
        MetaDataInfo info(kPath, kMountPoint, tags[0], tags[1], tags[2], tags[3], tags[4], 1, 1, 0);
        benchmark::DoNotOptimize(info);
    }
}
BENCHMARK(MetaDataInfo_stripped);

}  // namespace
