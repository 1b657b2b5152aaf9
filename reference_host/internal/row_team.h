// Threads that share one piece of work.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace refhost {

// The threads are kept for the next piece of work. Several pieces may be run at once from different threads; those
// that find the team at work get threads of their own.
class RowTeam {
public:
    RowTeam() = default;
    ~RowTeam();
    RowTeam(const RowTeam&) = delete;
    RowTeam& operator=(const RowTeam&) = delete;

    // Calls work(i) once for i in 0 … threads-1, each on a thread of its own, 0 on the calling one, and returns
    // when all are through. Where the system gives fewer threads, the last numbers are left out. `work` must
    // not throw.
    void Run(int threads, const std::function<void(int)>& work);

private:
    void RunWithOwnThreads(int threads, const std::function<void(int)>& work);
    void Hire(int helpers);
    void Help(int index);

    std::mutex busy_;  // held while the team is at work

    std::mutex mutex_;  // guards all that follows but `helpers_`, which is only touched under `busy_`
    std::condition_variable start_, finished_;
    const std::function<void(int)>* work_ = nullptr;
    std::uint64_t round_ = 0;
    int wanted_ = 0;   // helpers with an index up to this take part in the round
    int pending_ = 0;  // of those, how many have not finished
    bool closing_ = false;

    std::vector<std::thread> helpers_;
};

}  // namespace refhost
