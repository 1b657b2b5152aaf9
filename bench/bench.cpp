// Measures whole frames through the plug-in, and each stage alone, beside copies, the scalar kernels and OpenCV in
// the same run. It ends with a table that compares them. The host reuses freed blocks, so that the figures show the
// effect and not the page faults of the operating system.
#include <benchmark/benchmark.h>

#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "frames.h"
#include "peers.h"
#include "stages.h"
#include "table.h"

namespace {

using namespace bench;

template <class Work>
void Register(const std::string& name, Work work) {
    const auto run = [work](benchmark::State& state) {
        for (auto _ : state) {
            work();
            benchmark::ClobberMemory();
        }
    };
    benchmark::RegisterBenchmark(name.c_str(), run)
        ->UseRealTime()
        ->MeasureProcessCPUTime()
        ->Unit(benchmark::kMillisecond);
}

// Sizes other than the full one appear in the name.
void RegisterSize(Size size, const std::string& prefix) {
    const auto add = [&prefix](const char* kind, const std::string& which, auto work) {
        Register(prefix + kind + which, std::move(work));
    };
    for (const Depth& depth : kDepths) {
        const std::string name = depth.name;
        add("copy/", name, [size, &depth] { CopyFrame(size, depth); });
        add("nontemporal copy/", name, [size, &depth] { CopyFramePastCache(size, depth); });
        const auto stages = std::make_shared<Stages>(size, depth);
        add("stage/", name + "/in", [stages] { stages->In(); });
        add("stage/", name + "/out", [stages] { stages->Out(); });
        for (const Scaling scaling : {linear, square, cubic}) {
            const std::string which = name + "/" + kScalings[scaling];
            const auto render = [size, &depth, scaling](Plugin plugin) {
                return [=, &depth] { RenderFrame(plugin, size, depth, scaling); };
            };
            add("frame/", which, render(Plugin::shipped));
            add("scalar/", which, render(Plugin::scalar));
            add("stage/", which, [stages, scaling] { stages->Workers(scaling); });
        }
    }
}

void RegisterAll() {
    RegisterSize(kFull, "");
    RegisterSize(kHalf, "1920x1080 ");
    for (const Split split : {Split::byOpenCv, Split::byRows}) {
        const std::string by = split == Split::byOpenCv ? "/by OpenCV" : "/by rows";
        Register("peer/linear" + by, [split] { PeerLinear(split); });
        Register("peer/square" + by, [split] { PeerSquare(split); });
    }
    for (const Size size : kSizes) {
        for (const Scaling scaling : {linear, square}) {
            Register(
                "size/" + std::to_string(size.width) + "x" + std::to_string(size.height) + "/" + kScalings[scaling],
                [size, scaling] { RenderFrame(Plugin::shipped, size, kDepths[0], scaling); });
        }
    }
    Register("small frame", [] { RenderFrame(Plugin::shipped, kSmall, kDepths[0], linear); });
    Register("threads", StartThreads);
}

// Prints to the standard error, and remembers medians.
class Reporter : public benchmark::ConsoleReporter {
public:
    explicit Reporter(bool processorTime) : ConsoleReporter(OO_None), processorTime_(processorTime) {
        SetOutputStream(&std::cerr);
    }

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.aggregate_name != "median") continue;
            medians[run.run_name.function_name] =
                processorTime_ ? run.GetAdjustedCPUTime() / 2 : run.GetAdjustedRealTime();
        }
    }

    Medians medians;

private:
    bool processorTime_;
};

}  // namespace

int main(int argc, char** argv) {
    // On a busy machine, elapsed time tells little. --processor-time compares the time spent on all threads
    // instead, divided by two, as if two threads had worked all the time.
    const std::string_view last = argv[argc - 1];
    const bool processorTime = last == "--processor-time";
    if (processorTime) --argc;
    // Machines are shared and noisy. By default every row is the median of interleaved repetitions.
    std::vector<std::string> words(argv, argv + argc);
    words.insert(words.begin() + 1, {"--benchmark_enable_random_interleaving=true", "--benchmark_repetitions=9",
                                     "--benchmark_report_aggregates_only=true", "--benchmark_min_time=0.02"});
    std::vector<char*> pointers;
    pointers.reserve(words.size());
    for (std::string& word : words)
        pointers.push_back(word.data());
    int count = static_cast<int>(pointers.size());
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data())) return 1;
    RegisterAll();
    Reporter reporter(processorTime);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    PrintTable(reporter.medians, CountPageFaults());
    benchmark::Shutdown();
}
