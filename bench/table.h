// The results of all runs as tables.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "frames.h"

namespace bench {

// Median milliseconds by name of benchmark. A row is left out if its name is missing.
using Medians = std::map<std::string, double>;

std::string FrameName(const Variant& variant, Size size, const std::string& depth, const std::string& scaling);
std::string StageName(const Variant& variant, const std::string& depth, const std::string& stage);
std::string InFlightName(Size size, int threads, bool ownEffects);

// Every tier of this processor except the scalar one, the widest first, at amounts 25 and 1.
std::vector<Variant> VariantsByTier();

// Tables in Markdown, as docs/performance.md has them: all of VariantsByTier(), and frames in flight.
void PrintByTier(const Medians& medians);
// One variant beside copies, the scalar kernels and OpenCV, and what its parts cost.
void PrintDetails(const Medians& medians, const Variant& variant, const PageFaults& faults);

}  // namespace bench
