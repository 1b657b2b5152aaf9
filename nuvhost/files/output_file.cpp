#include "files/output_file.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <mutex>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

namespace nuvhost {
namespace {

struct Temporaries {
    std::mutex mutex;  // also locked while one of the files is made, moved or removed
    std::set<std::filesystem::path> files;
};

Temporaries& TheTemporaries() {
    // It is never destroyed, because the thread that waits for signals uses it to the end.
    static auto& temporaries = *new Temporaries;
    return temporaries;
}

// A hidden name that no other process uses. It is short and does not contain the target's name, which may already
// have the greatest length.
std::filesystem::path TemporaryBeside(const std::filesystem::path& file) {
    thread_local std::random_device random;
    std::filesystem::path name = file.parent_path() / ".nuvhost";
    for (const auto number : {static_cast<unsigned>(::getpid()), random()}) {
        name += ".";
        name += std::to_string(number);
    }
    name += file.extension();
    return name;
}

[[noreturn]] void RemoveAllAndDie(int signal, void (*last)()) {
    auto& temporaries = TheTemporaries();
    temporaries.mutex.lock();  // never unlocked
    for (const auto& file : temporaries.files) {
        ::unlink(file.c_str());
    }
    last();
    std::signal(signal, SIG_DFL);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    std::raise(signal);
    std::_Exit(128 + signal);
}

}  // namespace

void RemoveTemporariesOnSignal(void (*last)()) {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
        struct sigaction action {};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler != SIG_IGN) sigaddset(&set, signal);  // nohup makes the process ignore a signal
    }
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    std::thread([set, last] {
        int signal = 0;
        while (sigwait(&set, &signal) != 0) {
        }
        RemoveAllAndDie(signal, last);
    }).detach();
}

std::filesystem::path BehindLinks(std::filesystem::path file) {
    constexpr int kMostLinks = 40;  // as many as the system follows
    std::error_code error;
    for (int i = 0; i < kMostLinks && std::filesystem::is_symlink(file, error); ++i) {
        const auto to = std::filesystem::read_symlink(file, error);
        if (error) return file;
        file = file.parent_path() / to;
    }
    const auto plain = std::filesystem::weakly_canonical(file, error);
    return error ? file : plain;
}

OutputFile::OutputFile(const std::filesystem::path& target)
    : name_(target), target_(BehindLinks(std::filesystem::absolute(target))), temporary_(TemporaryBeside(target_)) {
    const std::lock_guard lock(TheTemporaries().mutex);
    TheTemporaries().files.insert(temporary_);
}

OutputFile::~OutputFile() {
    const std::lock_guard lock(TheTemporaries().mutex);
    std::error_code ignored;
    std::filesystem::remove(temporary_, ignored);
    if (descriptor_ >= 0) ::close(descriptor_);
    TheTemporaries().files.erase(temporary_);
}

bool OutputFile::Create(const std::function<bool()>& make) {
    const std::lock_guard lock(TheTemporaries().mutex);
    const bool made = make();
    if (made) descriptor_ = ::open(temporary_.c_str(), O_WRONLY | O_CLOEXEC);
    return made;
}

void OutputFile::Commit() {
    const auto fail = [&](const std::string& why) {
        throw std::runtime_error(name_.string() + ": cannot be written: " + why);
    };
    const auto done = [&](int result) {
        if (result != 0) fail(std::generic_category().message(errno));
    };
    const bool synced = ::fsync(descriptor_) == 0 || errno == EINVAL;  // EINVAL: the file system has no fsync
    done(synced ? 0 : -1);
    done(::close(std::exchange(descriptor_, -1)));

    const std::lock_guard lock(TheTemporaries().mutex);
    std::error_code error;
    // The rename below would replace a device, which must stay.
    const auto there = std::filesystem::symlink_status(target_, error);
    if (std::filesystem::exists(there) && !std::filesystem::is_regular_file(there)) fail("it is not a file");
    std::filesystem::rename(temporary_, target_, error);
    if (error) fail(error.message());
}

}  // namespace nuvhost
