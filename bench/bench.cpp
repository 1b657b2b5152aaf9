// Measures whole frames through the plug-in, and each stage alone, beside copies, the scalar kernels and OpenCV in
// the same run. It ends with tables that compare them. The host reuses freed blocks, so that the figures show the
// effect and not the page faults of the operating system.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <charconv>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "engine/kernels/cpu_kernels.h"
#include "frames.h"
#include "peers.h"
#include "stages.h"
#include "table.h"

namespace {

using namespace bench;

// The first call is not measured: it makes what later calls reuse. A name that is already known is not measured
// again.
template <class Work>
void Register(const std::string& name, Work work) {
    static std::set<std::string> known;
    if (!known.insert(name).second) return;
    const auto run = [work, warm = std::make_shared<std::once_flag>()](benchmark::State& state) {
        std::call_once(*warm, work);
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

void RegisterFrame(const Variant& variant, Size size, const Depth& depth, Scaling scaling) {
    Register(FrameName(variant, size, depth.name, kScalings[scaling]),
             [=, &depth] { RenderFrame(variant, size, depth, scaling); });
}

void RegisterFrames(const Variant& variant, Size size) {
    for (const Depth& depth : kDepths) {
        for (const Scaling scaling : {linear, square, cubic})
            RegisterFrame(variant, size, depth, scaling);
    }
}

// The stages keep their buffers.
Stages& StagesOf(const Depth& depth) {
    static std::map<const Depth*, Stages> all;
    return all.try_emplace(&depth, depth).first->second;
}

void RegisterWorkers(const Variant& variant, const Depth& depth) {
    for (const Scaling scaling : {linear, square, cubic}) {
        Register(StageName(variant, depth.name, kScalings[scaling]),
                 [=, &stages = StagesOf(depth)] { stages.Workers(variant, scaling); });
    }
}

// Everything for PrintDetails.
void RegisterDetails(const Variant& variant) {
    RegisterFrames(variant, kFull);
    RegisterFrames({.tier = 0, .amount = variant.amount}, kFull);
    for (const Depth& depth : kDepths) {
        Register(std::string("copy/") + depth.name, [&depth] { CopyFrame(kFull, depth); });
        Register(StageName(variant, depth.name, "in"), [=, &stages = StagesOf(depth)] { stages.In(variant); });
        RegisterWorkers(variant, depth);
        Register(StageName(variant, depth.name, "out"), [=, &stages = StagesOf(depth)] { stages.Out(variant); });
    }
    for (const Split split : {Split::byOpenCv, Split::byRows}) {
        if (variant.amount < 0) break;
        const std::string by = split == Split::byOpenCv ? "/by OpenCV" : "/by rows";
        Register("peer/linear" + by, [=] { PeerLinear(split, variant.amount); });
        Register("peer/square" + by, [=] { PeerSquare(split, variant.amount); });
    }
    for (const Size size : kSizes) {
        for (const Scaling scaling : {linear, square})
            RegisterFrame(variant, size, kDepths[0], scaling);
    }
    RegisterFrame(variant, kSmall, kDepths[0], linear);
    Register("threads", [] { StartThreads(); });
}

void RegisterInFlight(const Variant& variant) {
    for (const Size size : kInFlightSizes) {
        for (const int threads : kInFlight) {
            for (const bool ownEffects : {false, true}) {
                if (ownEffects && threads == 1) continue;  // nothing to wait for
                Register(InFlightName(size, threads, ownEffects),
                         [=] { RenderInFlight(variant, size, threads, ownEffects); });
            }
        }
    }
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

struct Options {
    bool processorTime = false;
    std::optional<std::size_t> tier;
    std::optional<double> amount;
};

std::size_t TierOf(std::string_view name) {
    const auto found = std::ranges::find(kTierNames, name);
    if (found == std::end(kTierNames)) {
        throw std::invalid_argument("--kernels takes scalar, sse2, avx2 or avx512");
    }
    const auto tier = static_cast<std::size_t>(found - std::begin(kTierNames));
    if (tier >= nuv::AvailableTiers().size()) {
        throw std::invalid_argument("the kernels " + std::string(name) + " do not run on this processor");
    }
    return tier;
}

double AmountOf(std::string_view text) {
    double amount = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), amount);
    if (error != std::errc() || end != text.data() + text.size() || !(amount >= -100 && amount <= 100)) {
        throw std::invalid_argument("--amount takes a number from -100 to 100");
    }
    return amount;
}

// Takes the words that Google Benchmark has left. Throws std::invalid_argument with one line.
Options OptionsOf(std::span<char*> words) {
    Options options;
    for (std::size_t i = 1; i < words.size(); ++i) {
        const std::string_view word = words[i];
        const std::string_view value = i + 1 < words.size() ? words[i + 1] : "";
        if (word == "--processor-time") {
            options.processorTime = true;
            continue;
        } else if (word == "--kernels") {
            options.tier = TierOf(value);
        } else if (word == "--amount") {
            options.amount = AmountOf(value);
        } else {
            throw std::invalid_argument("unknown option " + std::string(word));
        }
        ++i;
    }
    return options;
}

}  // namespace

// --kernels and --amount measure these alone. On a busy machine, elapsed time tells little. --processor-time
// compares the time spent on all threads instead, divided by two, as if two threads had worked all the time.
int main(int argc, char** argv) try {
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
    const Options options = OptionsOf(std::span(pointers).first(static_cast<std::size_t>(count)));

    const std::size_t widest = nuv::AvailableTiers().size() - 1;
    const bool all = !options.tier && !options.amount;
    const Variant detailed{.tier = options.tier.value_or(widest), .amount = options.amount.value_or(kAmount)};
    Register("past the cache", [] { CopyFramePastCache(kFull, kDepths[2]); });
    RegisterDetails(detailed);
    if (all) {
        for (const Variant& variant : VariantsByTier()) {
            RegisterFrames(variant, kFull);
            if (variant.amount == kAmount) RegisterFrames(variant, kHalf);
            RegisterWorkers(variant, kDepths[0]);
        }
        if (!options.processorTime) RegisterInFlight(detailed);  // waiting takes no processor time
    }
    Reporter reporter(options.processorTime);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    if (all) PrintByTier(reporter.medians);
    if (all) std::cout << "\n### Details\n\n```text\n" << std::flush;
    PrintDetails(reporter.medians, detailed, CountPageFaults(detailed));
    if (all) std::cout << "```\n";
    benchmark::Shutdown();
} catch (const std::invalid_argument& error) {
    std::cerr << "bench: " << error.what() << '\n';
    return 2;
}
