// Runs the benchmarks and, for each benchmark NAME that has a NAME_floor beside it, reports how
// many times its floor NAME costs: the median real and CPU time per iteration of each, measured
// in the same run (over the repetitions, or the median aggregate when only aggregates are
// reported).

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr char kFloorSuffix[] = "_floor";

class RatioReporter : public benchmark::ConsoleReporter {
public:
    // Colours only on a terminal, so that the output can be read by a program.
    RatioReporter() : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_Defaults : OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if (run.error_occurred || (run.run_type == Run::RT_Aggregate && !median)) {
                continue;
            }
            Times& times = times_[run.run_name.function_name];
            if (median) {
                times = Times{};
            }
            times.real.push_back(run.GetAdjustedRealTime());
            times.cpu.push_back(run.GetAdjustedCPUTime());
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        const std::string suffix = kFloorSuffix;
        for (const auto& [name, times] : times_) {
            if (name.size() <= suffix.size() ||
                name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0) {
                continue;
            }
            const std::string measured = name.substr(0, name.size() - suffix.size());
            const auto found = times_.find(measured);
            if (found == times_.end()) {
                continue;
            }
            std::printf("ratio %-24s real %.3f, cpu %.3f x its floor\n", measured.c_str(),
                        median(found->second.real) / median(times.real),
                        median(found->second.cpu) / median(times.cpu));
        }
    }

private:
    static double median(std::vector<double> values) {
        std::sort(values.begin(), values.end());
        const size_t middle = values.size() / 2;
        return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
    }

    struct Times {
        std::vector<double> real;
        std::vector<double> cpu;
    };
    std::map<std::string, Times> times_;
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
