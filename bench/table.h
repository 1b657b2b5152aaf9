// The results of all runs as one table.
#pragma once

#include <map>
#include <string>

#include "frames.h"

namespace bench {

// Median milliseconds by name of benchmark. A row is left out if its name is missing.
using Medians = std::map<std::string, double>;

void PrintTable(const Medians& medians, const PageFaults& faults);

}  // namespace bench
