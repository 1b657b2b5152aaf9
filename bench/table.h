// What the runs amount to, as one table.
#pragma once

#include <map>
#include <string>

#include "frames.h"

namespace bench {

// Median milliseconds by name of benchmark. Where a name is missing, so is its row.
using Medians = std::map<std::string, double>;

void PrintTable(const Medians& medians, const PageFaults& faults);

}  // namespace bench
