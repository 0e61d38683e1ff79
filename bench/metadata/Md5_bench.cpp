#include <tangor/metadata/Md5.h>

#include <benchmark/benchmark.h>
#include <glib.h>

#include <string>

namespace {

const std::string kText =
    "/media/usb1/Music/Some Artist/Some Album (Deluxe Edition)/07 - A Song.mp3";

void Md5_construct(benchmark::State& state) {
    for (auto _ : state) {
        corvina::Md5 id(corvina::Md5::Track, kText);
        benchmark::DoNotOptimize(id.value.data());
    }
}

// The digest alone, as GLib gives it.
void Md5_construct_floor(benchmark::State& state) {
    for (auto _ : state) {
        gchar* digest = g_compute_checksum_for_data(
            G_CHECKSUM_MD5, reinterpret_cast<const guchar*>(kText.data()), kText.size());
        benchmark::DoNotOptimize(digest);
        g_free(digest);
    }
}

BENCHMARK(Md5_construct);
BENCHMARK(Md5_construct_floor);

}  // namespace
