#include "table.h"

#include <cstdio>
#include <optional>

#include "engine/kernels/cpu_kernels.h"

namespace bench {
namespace {

using Ratio = std::optional<double>;  // or milliseconds; empty if something was not measured
constexpr const char* kNotMeasured = "–";
using Cells = std::vector<std::string>;

class Rows {
public:
    explicit Rows(const Medians& medians) : medians_(medians) {}

    Ratio Time(const std::string& name) const {
        const auto found = medians_.find(name);
        if (found == medians_.end()) return std::nullopt;
        return found->second;
    }

    Ratio Over(const std::string& over, const std::string& under) const {
        const Ratio a = Time(over), b = Time(under);
        return a && b ? Ratio(*a / *b) : std::nullopt;
    }

    // Milliseconds that a copy past the cache needs for so many bytes per pixel of a 4K frame.
    Ratio Floor(double bytesPerPixel) const {
        const Ratio time = Time("past the cache");
        return time ? Ratio(*time * bytesPerPixel / (2 * kDepths[2].pixelBytes)) : std::nullopt;
    }

    // How many times its floor something takes.
    Ratio OverFloor(const std::string& name, double bytesPerPixel) const {
        const Ratio time = Time(name), floor = Floor(bytesPerPixel);
        return time && floor ? Ratio(*time / *floor) : std::nullopt;
    }

private:
    const Medians& medians_;
};

// By tier: the most that a frame may take, in multiples of its floor. 0 means that there is no target.
constexpr struct {
    const char* title;
    double linear, curved;
} kTierFacts[] = {{"scalar", 0, 0}, {"baseline", 1.35, 1.7}, {"AVX2", 1.20, 1.35}, {"AVX-512", 1.15, 1.25}};
static_assert(std::size(kTierFacts) == std::size(kTierNames));

// By depth, for the widest tier.
constexpr struct {
    double overCopyLinear, overCopyCurved, gainLinear, gainCurved;
} kTargets[] = {{6.0, 8.5, 8, 7}, {4.2, 5.5, 5, 5.5}, {2.2, 2.9, 4.5, 5}};

double FloorTarget(std::size_t tier, const std::string& scaling) {
    return scaling == kScalings[linear] ? kTierFacts[tier].linear : kTierFacts[tier].curved;
}

double WorkingBytes(const Depth& depth) {
    return depth.pixelBytes == 4 ? 4 : 16;
}

std::string Text(const char* format, Ratio value) {
    if (!value) return kNotMeasured;
    char text[32];
    std::snprintf(text, sizeof text, format, *value);
    return text;
}

// In bold if it is above the target.
std::string Judged(Ratio ratio, double target) {
    return Text(ratio && *ratio > target ? "**%.2f**" : "%.2f", ratio);
}

std::string Title(const Variant& variant) {
    return kTierFacts[variant.tier].title + Text(", amount %g", variant.amount);
}

void PrintLine(const std::string& label, const Cells& cells) {
    std::printf("| %s%s|", label.c_str(), label.empty() ? "" : " ");
    for (const std::string& cell : cells)
        std::printf(" %s |", cell.c_str());
    std::printf("\n");
}

void PrintHead(const std::string& title, const Cells& columns) {
    std::printf("\n### %s\n\n", title.c_str());
    PrintLine("", columns);
    std::printf("|---|");
    for (std::size_t i = 0; i < columns.size(); ++i)
        std::printf("---|");
    std::printf("\n");
}

// One cell for each depth and scaling.
template <class Cell>
Cells EachFrame(Cell cell) {
    Cells cells;
    for (const Depth& depth : kDepths) {
        for (const char* scaling : kScalings)
            cells.push_back(cell(depth, scaling));
    }
    return cells;
}

template <class Cell>
Cells EachScaling(Cell cell) {
    Cells cells;
    for (const char* scaling : kScalings)
        cells.push_back(cell(scaling));
    return cells;
}

void PrintRatio(const std::string& label, Ratio ratio, double target, bool atLeast = false) {
    if (!ratio) return;
    std::printf("  %-44s %8.2f", label.c_str(), *ratio);
    const bool met = atLeast ? *ratio >= target : *ratio <= target;
    if (target > 0) std::printf("   %s %-5.4g %s", atLeast ? ">=" : "<=", target, met ? "met" : "missed");
    std::printf("\n");
}

}  // namespace

std::string FrameName(const Variant& variant, Size size, const std::string& depth, const std::string& scaling) {
    return "frame/" + variant.name() + "/" + size.name() + "/" + depth + "/" + scaling;
}

std::string StageName(const Variant& variant, const std::string& depth, const std::string& stage) {
    return "stage/" + variant.name() + "/" + depth + "/" + stage;
}

std::string InFlightName(Size size, int threads, bool ownEffects) {
    return "in flight/" + size.name() + "/" + std::to_string(threads) +
           (ownEffects ? "/own effects" : "/one effect");
}

std::vector<Variant> VariantsByTier() {
    std::vector<Variant> variants;
    for (std::size_t tier = nuv::AvailableTiers().size() - 1; tier > 0; --tier) {
        for (const double amount : {kAmount, 1.0})
            variants.push_back({.tier = tier, .amount = amount});
    }
    return variants;
}

void PrintByTier(const Medians& medians) {
    const Rows rows(medians);
    const std::vector<Variant> variants = VariantsByTier();
    const Cells frames =
        EachFrame([](const Depth& depth, const char* scaling) { return std::string(depth.name) + " " + scaling; });
    const Cells scalings(std::begin(kScalings), std::end(kScalings));

    PrintHead("Milliseconds of a frame, amount 25", frames);
    for (const Size size : {kHalf, kFull}) {
        for (const Variant& variant : variants) {
            if (variant.amount != kAmount) continue;
            PrintLine(size.name() + ", " + kTierFacts[variant.tier].title,
                      EachFrame([&](const Depth& depth, const char* scaling) {
                          return Text("%.1f", rows.Time(FrameName(variant, size, depth.name, scaling)));
                      }));
        }
    }

    PrintHead("Frame / floor at " + kFull.name(), frames);
    for (const Variant& variant : variants) {
        PrintLine(Title(variant), EachFrame([&](const Depth& depth, const char* scaling) {
                      return Judged(
                          rows.OverFloor(FrameName(variant, kFull, depth.name, scaling), depth.leastBytes),
                          FloorTarget(variant.tier, scaling));
                  }));
    }

    PrintHead("Targets of frame / floor", {"linear", "square, cubic"});
    for (std::size_t tier = nuv::AvailableTiers().size() - 1; tier > 0; --tier) {
        const auto& target = kTierFacts[tier];
        PrintLine(std::string(target.title) + ", all depths, amounts 1 and 25",
                  {Text("<= %.2f", target.linear), Text("<= %.2f", target.curved)});
    }

    PrintHead("Workers alone / their own floor, 8 bits, at " + kFull.name(), scalings);
    for (const Variant& variant : variants) {
        PrintLine(Title(variant), EachScaling([&](const char* scaling) {
                      return Text("%.2f", rows.OverFloor(StageName(variant, kDepths[0].name, scaling),
                                                         WorkingBytes(kDepths[0]) + 16));
                  }));
    }

    if (!rows.Time(InFlightName(kInFlightSizes[0], 1, false))) return;
    PrintHead("Frames in flight", {"1 thread", "2 threads", "4 threads", "8 threads", "2 with effects of their own",
                                   "4 with effects of their own", "8 with effects of their own"});
    for (const Size size : kInFlightSizes) {
        const Ratio one = rows.Time(InFlightName(size, 1, false));
        Cells cells{one ? Text("%.0f frames/s", 1000 * kFramesInFlight / *one) : kNotMeasured};
        for (const bool ownEffects : {false, true}) {
            for (const int threads : {2, 4, 8}) {
                cells.push_back(
                    Text("%.2f", rows.Over(InFlightName(size, 1, false), InFlightName(size, threads, ownEffects))));
            }
        }
        PrintLine(size.name(), cells);
    }
}

void PrintDetails(const Medians& medians, const Variant& variant, const PageFaults& faults) {
    const Rows rows(medians);
    const bool widest = variant.tier == nuv::AvailableTiers().size() - 1;
    const auto frame = [&](const std::string& depth, const std::string& scaling) {
        return FrameName(variant, kFull, depth, scaling);
    };
    const Variant scalar{.tier = 0, .amount = variant.amount};

    std::printf("3840 x 2160, %s, two iteration threads\n", Title(variant).c_str());
    std::printf("frame / two-thread copy of the same bytes\n");
    for (int d = 0; d < 3; ++d) {
        const std::string depth = kDepths[d].name;
        for (const char* scaling : kScalings) {
            const bool isLinear = scaling == kScalings[linear];
            PrintRatio(depth + ", " + scaling, rows.Over(frame(depth, scaling), "copy/" + depth),
                       widest ? isLinear ? kTargets[d].overCopyLinear : kTargets[d].overCopyCurved : 0);
        }
    }
    std::printf("scalar kernels / frame\n");
    for (int d = 0; d < 3; ++d) {
        const std::string depth = kDepths[d].name;
        for (const char* scaling : kScalings) {
            const bool isLinear = scaling == kScalings[linear];
            PrintRatio(depth + ", " + scaling,
                       rows.Over(FrameName(scalar, kFull, depth, scaling), frame(depth, scaling)),
                       widest ? isLinear ? kTargets[d].gainLinear : kTargets[d].gainCurved : 0, true);
        }
    }
    std::printf("frame / floor, the least bytes at the rate of a non-temporal copy\n");
    for (const Depth& depth : kDepths) {
        for (const char* scaling : kScalings) {
            const Ratio time = rows.Time(frame(depth.name, scaling)), floor = rows.Floor(depth.leastBytes);
            if (!time || !floor) continue;
            char label[64];
            std::snprintf(label, sizeof label, "%-6s %-7s %8.2f ms, floor %6.2f ms", depth.name, scaling, *time,
                          *floor);
            PrintRatio(label, *time / *floor, FloorTarget(variant.tier, scaling));
        }
    }
    if (const Ratio rate = rows.Floor(1)) std::printf("  the copy moves %.1f GB/s\n", kFull.pixels() / *rate / 1e6);

    std::printf("stages, each alone: ms (times its own floor)\n");
    for (const Depth& depth : kDepths) {
        const double working = WorkingBytes(depth);
        const struct {
            const char* name;
            double bytes;
        } stages[] = {{"in", depth.pixelBytes + working},
                      {"linear", working + 16},
                      {"square", working + 16},
                      {"cubic", working + 16},
                      {"out", 16.0 + depth.pixelBytes}};
        std::printf("  %-6s", depth.name);
        for (const auto& stage : stages) {
            const std::string name = StageName(variant, depth.name, stage.name);
            const Ratio time = rows.Time(name), ratio = rows.OverFloor(name, stage.bytes);
            if (time && ratio) std::printf("  %s %.2f (%.2f)", stage.name, *time, *ratio);
        }
        std::printf("\n");
    }

    if (variant.amount >= 0) std::printf("peers, 8 bits: OpenCV / frame\n");
    for (const std::string split : {"by OpenCV", "by rows"}) {
        PrintRatio("resize nearest, two threads " + split, rows.Over("peer/linear/" + split, frame("8", "linear")),
                   widest ? 1 : 0, true);
        PrintRatio("remap with its map, two threads " + split,
                   rows.Over("peer/square/" + split, frame("8", "square")), widest ? 1 : 0, true);
    }

    std::printf("cost against size, 8 bits: ns per pixel\n");
    for (const Size size : kSizes) {
        std::printf("  %-10s", size.name().c_str());
        for (const char* scaling : {kScalings[linear], kScalings[square]}) {
            if (const Ratio time = rows.Time(FrameName(variant, size, "8", scaling))) {
                std::printf("  %s %.2f", scaling, *time * 1e6 / size.pixels());
            }
        }
        std::printf("\n");
    }

    std::printf("fixed cost\n");
    const std::string small = FrameName(variant, kSmall, "8", "linear");
    PrintRatio("64 x 64 / start and join of sixteen threads", rows.Over(small, "threads"), 1.05);
    if (const Ratio time = rows.Time(small)) std::printf("  64 x 64 takes %.3f ms\n", *time);
    std::printf(
        "page faults, float, fresh memory: %ld taken, %ld by the command's thread; the buffers have %ld pages\n",
        faults.taken, faults.byCommandThread, faults.least);
}

}  // namespace bench
