#include "reference_host/internal/row_team.h"

#include <algorithm>
#include <system_error>

namespace refhost {

RowTeam::~RowTeam() {
    {
        const std::lock_guard lock(mutex_);
        closing_ = true;
    }
    start_.notify_all();
    for (auto& helper : helpers_)
        helper.join();
}

void RowTeam::Run(int threads, const std::function<void(int)>& work) {
    if (threads <= 1) return work(0);

    const std::unique_lock busy(busy_, std::try_to_lock);
    if (!busy) return RunWithOwnThreads(threads, work);

    Hire(threads - 1);
    {
        const std::lock_guard lock(mutex_);
        work_ = &work;
        wanted_ = pending_ = std::min(threads - 1, static_cast<int>(helpers_.size()));
        ++round_;
    }
    start_.notify_all();
    work(0);
    std::unique_lock lock(mutex_);
    finished_.wait(lock, [this] { return pending_ == 0; });
}

void RowTeam::RunWithOwnThreads(int threads, const std::function<void(int)>& work) {
    std::vector<std::thread> own;
    try {
        for (int i = 1; i < threads; ++i)
            own.emplace_back(std::cref(work), i);
    } catch (const std::system_error&) {
        // The system gives no more threads. Those that have started do the work.
    }
    work(0);
    for (auto& thread : own)
        thread.join();
}

void RowTeam::Hire(int helpers) {
    try {
        while (static_cast<int>(helpers_.size()) < helpers) {
            helpers_.emplace_back(&RowTeam::Help, this, static_cast<int>(helpers_.size()) + 1);
        }
    } catch (const std::system_error&) {
        // As above: the threads that have started do the work.
    }
}

void RowTeam::Help(int index) {
    std::unique_lock lock(mutex_);
    std::uint64_t seen = 0;
    for (;;) {
        start_.wait(lock, [&] { return closing_ || (round_ != seen && index <= wanted_); });
        if (closing_) return;
        seen = round_;
        const auto& work = *work_;
        lock.unlock();
        work(index);
        lock.lock();
        if (--pending_ == 0) finished_.notify_one();
    }
}

}  // namespace refhost
