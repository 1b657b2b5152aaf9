#include "table.h"

#include <cstdio>
#include <optional>

namespace bench {
namespace {

class Rows {
public:
    explicit Rows(const Medians& medians) : medians_(medians) {}

    std::optional<double> Time(const std::string& name) const {
        const auto found = medians_.find(name);
        if (found == medians_.end()) return std::nullopt;
        return found->second;
    }

    // Prints a ratio and its target. The ratio must not be above the target, or, with `atLeast`, not below it.
    void Ratio(const std::string& label, const std::string& over, const std::string& under, double target,
               bool atLeast = false) const {
        const auto a = Time(over), b = Time(under);
        if (!a || !b) return;
        const double ratio = *a / *b;
        const bool met = atLeast ? ratio >= target : ratio <= target;
        std::printf("  %-44s %8.2f   %s %-5.4g %s\n", label.c_str(), ratio, atLeast ? ">=" : "<=", target,
                    met ? "met" : "missed");
    }

private:
    const Medians& medians_;
};

constexpr struct {
    double overCopyLinear, overCopyCurved, gainLinear, gainCurved;
} kTargets[] = {{6.0, 8.5, 8, 7}, {4.2, 5.5, 5, 5.5}, {2.2, 2.9, 4.5, 5}};

// Milliseconds that the copy of this name needs for so many bytes per pixel of a 4K frame.
std::optional<double> Floor(const Rows& rows, const char* copy, double bytesPerPixel) {
    const auto time = rows.Time(std::string(copy) + "/float");
    if (!time) return std::nullopt;
    return *time * bytesPerPixel / (2 * kDepths[2].pixelBytes);
}

}  // namespace

void PrintTable(const Medians& medians, const PageFaults& faults) {
    const Rows rows(medians);

    std::printf("\n3840 x 2160, amount %g, two iteration threads\n", kAmount);
    std::printf("frame / two-thread copy of the same bytes\n");
    for (int d = 0; d < 3; ++d) {
        const std::string depth = kDepths[d].name;
        for (const char* scaling : kScalings) {
            const bool isLinear = scaling == kScalings[linear];
            rows.Ratio(depth + ", " + scaling, "frame/" + depth + "/" + scaling, "copy/" + depth,
                       isLinear ? kTargets[d].overCopyLinear : kTargets[d].overCopyCurved);
        }
    }
    std::printf("scalar kernels / frame\n");
    for (int d = 0; d < 3; ++d) {
        const std::string depth = kDepths[d].name;
        for (const char* scaling : kScalings) {
            const bool isLinear = scaling == kScalings[linear];
            rows.Ratio(depth + ", " + scaling, "scalar/" + depth + "/" + scaling, "frame/" + depth + "/" + scaling,
                       isLinear ? kTargets[d].gainLinear : kTargets[d].gainCurved, true);
        }
    }
    std::printf("frame / floor, the least bytes at the rate of a non-temporal copy\n");
    for (const Depth& depth : kDepths) {
        const auto floor = Floor(rows, "nontemporal copy", depth.leastBytes);
        for (const char* scaling : kScalings) {
            const auto frame = rows.Time(std::string("frame/") + depth.name + "/" + scaling);
            if (!frame || !floor) continue;
            const double target = scaling == kScalings[linear] ? 1.15 : 1.4;
            std::printf("  %-6s %-7s %8.2f ms, floor %6.2f ms %12.2f   <= %-5.4g %s\n", depth.name, scaling, *frame,
                        *floor, *frame / *floor, target, *frame / *floor <= target ? "met" : "missed");
        }
    }
    if (const auto rate = Floor(rows, "nontemporal copy", 1)) {
        std::printf("  the copy moves %.1f GB/s\n", kFull.pixels() / *rate / 1e6);
    }

    std::printf("stages, each alone: ms (times its own floor)\n");
    for (const Depth& depth : kDepths) {
        const double working = depth.pixelBytes == 4 ? 4 : 16;
        const struct {
            std::string name;
            double bytes;
        } stages[] = {{"in", depth.pixelBytes + working},
                      {"linear", working + 16},
                      {"square", working + 16},
                      {"cubic", working + 16},
                      {"out", 16.0 + depth.pixelBytes}};
        std::printf("  %-6s", depth.name);
        for (const auto& stage : stages) {
            const auto time = rows.Time(std::string("stage/") + depth.name + "/" + stage.name);
            const auto floor = Floor(rows, "nontemporal copy", stage.bytes);
            if (time && floor) std::printf("  %s %.2f (%.2f)", stage.name.c_str(), *time, *time / *floor);
        }
        std::printf("\n");
    }

    std::printf("peers, 8 bits: OpenCV / frame\n");
    for (const char* split : {"/by OpenCV", "/by rows"}) {
        const std::string threads = split;
        rows.Ratio("resize nearest, two threads " + threads.substr(1), "peer/linear" + threads, "frame/8/linear",
                   1.0, true);
        rows.Ratio("remap with its map, two threads " + threads.substr(1), "peer/square" + threads,
                   "frame/8/square", 1.0, true);
    }

    std::printf("cost against size, 8 bits: ns per pixel\n");
    for (const Size size : kSizes) {
        const std::string shape = std::to_string(size.width) + "x" + std::to_string(size.height);
        std::printf("  %-10s", shape.c_str());
        for (const char* scaling : {kScalings[linear], kScalings[square]}) {
            if (const auto time = rows.Time("size/" + shape + "/" + scaling)) {
                std::printf("  %s %.2f", scaling, *time * 1e6 / size.pixels());
            }
        }
        std::printf("\n");
    }

    std::printf("fixed cost\n");
    rows.Ratio("64 x 64 / start and join of sixteen threads", "small frame", "threads", 1.1);
    if (const auto time = rows.Time("small frame")) std::printf("  64 x 64 takes %.3f ms\n", *time);
    std::printf(
        "page faults, float, fresh memory: %ld taken, %ld by the command's thread; the buffers have %ld pages\n",
        faults.taken, faults.byCommandThread, faults.least);
}

}  // namespace bench
