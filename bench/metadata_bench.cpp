// Building a track record against its floor: the seven MD5 digests a record cannot do without,
// taken with the same GLib call on the same texts in the same run. Target: a record costs at most
// 1.3 times its seven digests. The ratios of CPU times are printed after the table, from the
// medians when repeated:
//   metadata_bench --benchmark_repetitions=10 --benchmark_enable_random_interleaving=true
#include <tangor/metadata/MetaDataInfo.h>

#include <benchmark/benchmark.h>
#include <glib.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace {

using corvina::MetaDataInfo;
using corvina::StrippedValue;

// 80 bytes, a typical path below a mount point, with short tags.
const std::string path =
    "Music/Miles Davis/Kind of Blue (Legacy Edition)/01 - So What (2009 Remaster).mp3";
const std::string directory = path.substr(0, path.rfind('/'));
const std::string mountPoint = "/media/usb1";
const std::string title = "So What";
const std::string artist = "Miles Davis";
const std::string album = "Kind of Blue";
const std::string genre = "Jazz";
const std::string composer = "Miles Davis";

StrippedValue view(const std::string& text) {
    return corvina::trim(text.c_str(), static_cast<unsigned>(text.size()));
}

void BM_SevenDigests(benchmark::State& state) {
    const std::string* const texts[] = {&path,     &artist,    &album,     &genre,
                                        &composer, &directory, &mountPoint};
    for (auto _ : state) {
        for (const std::string* text : texts) {
            gchar* digest = g_compute_checksum_for_data(
                G_CHECKSUM_MD5, reinterpret_cast<const guchar*>(text->data()), text->size());
            benchmark::DoNotOptimize(digest);
            g_free(digest);
        }
    }
}
BENCHMARK(BM_SevenDigests);

void BM_RecordFromStrings(benchmark::State& state) {
    for (auto _ : state) {
        MetaDataInfo info(path, mountPoint, title, artist, album, genre, composer, 1, 1, 0);
        benchmark::DoNotOptimize(info);
    }
}
BENCHMARK(BM_RecordFromStrings);

void BM_RecordFromStrippedValues(benchmark::State& state) {
    const StrippedValue tags[] = {view(title), view(artist), view(album), view(genre),
                                  view(composer)};
    for (auto _ : state) {
        MetaDataInfo info(path, mountPoint, tags[0], tags[1], tags[2], tags[3], tags[4], 1, 1, 0);
        benchmark::DoNotOptimize(info);
    }
}
BENCHMARK(BM_RecordFromStrippedValues);

// The console table, then each record benchmark's CPU time over the floor's.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    RatioReporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if (median || (run.run_type == Run::RT_Iteration && run.repetitions <= 1)) {
                cpuTimes_[run.run_name.function_name] = run.GetAdjustedCPUTime();
            }
        }
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        const auto floor = cpuTimes_.find("BM_SevenDigests");
        if (floor == cpuTimes_.end() || floor->second <= 0) {
            return;
        }
        for (const auto& [name, time] : cpuTimes_) {
            if (name != floor->first) {
                std::printf("%s / %s = %.3f (target <= 1.3)\n", name.c_str(), floor->first.c_str(),
                            time / floor->second);
            }
        }
    }

private:
    std::map<std::string, double> cpuTimes_;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
