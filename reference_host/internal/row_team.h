// A team of threads that works on one piece of work at a time.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace refhost {

// The team keeps its threads for the next piece of work. Several threads may call Run at the same time. If the team
// is already working, Run starts other threads for its piece of work.
class RowTeam {
public:
    RowTeam() = default;
    ~RowTeam();
    RowTeam(const RowTeam&) = delete;
    RowTeam& operator=(const RowTeam&) = delete;

    // Calls work(i) once for each i from 0 to threads - 1 and returns when all calls have ended. Each call is on a
    // thread of its own; work(0) is on the calling thread. If the system gives fewer threads, the last numbers are
    // left out. `work` must not throw.
    void Run(int threads, const std::function<void(int)>& work);

private:
    void RunWithOwnThreads(int threads, const std::function<void(int)>& work);
    void Hire(int helpers);
    void Help(int index);

    std::mutex busy_;  // locked while the team works

    std::mutex mutex_;  // guards all members below except `helpers_`, which `busy_` guards
    std::condition_variable start_, finished_;
    const std::function<void(int)>* work_ = nullptr;
    std::uint64_t round_ = 0;
    int wanted_ = 0;   // the helpers with an index up to this number take part in this round
    int pending_ = 0;  // how many of them have not finished
    bool closing_ = false;

    std::vector<std::thread> helpers_;
};

}  // namespace refhost
