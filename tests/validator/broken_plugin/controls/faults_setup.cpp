#include "callback_fault.h"

namespace broken {
namespace {

constexpr Control kControls[] = {
    {.check = "faults.setup-suite-refused",
     .fault = "forgets a handle when a suite is refused",
     .command = Leaks<InSetUp, suiteRefused>},
    {.check = "faults.setup-suite-null",
     .fault = "forgets a handle when a suite is null",
     .command = Leaks<InSetUp, suiteNull>},
    {.check = "faults.setup-parameter",
     .fault = "does not mind that a parameter is refused",
     .command = Swallows<InSetUp, parameterRefused>},
    {.check = "faults.setup-handle",
     .fault = "forgets a handle when another is refused",
     .command = Leaks<InSetUp, handleNull>},
    {.check = "faults.setup-other",
     .fault = "forgets a handle when a suite's release fails",
     .command = Leaks<InSetUp, releaseRefused>},
    {.check = "faults.setup-handle-told",
     .fault = "does not mind that there is no memory for its data",
     .command = Swallows<InSetUp, handleNull>},
    {.check = "faults.setup-formats",
     .fault = "forgets a handle when a format is refused",
     .command = Leaks<InSetUp, formatRefused>},
};

}  // namespace

std::span<const Control> FaultsSetupControls() {
    return kControls;
}

}  // namespace broken
