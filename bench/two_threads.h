#pragma once

#include <thread>

namespace bench {

// Runs `work(first, end)` over the rows. A second thread takes the lower half.
template <class Work>
void OnTwoThreads(int rows, Work work) {
    std::thread lower(work, rows / 2, rows);
    work(0, rows / 2);
    lower.join();
}

}  // namespace bench
