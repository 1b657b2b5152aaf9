#include "output_file.h"

#include <unistd.h>

#include <array>
#include <csignal>
#include <cstring>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>

namespace nuvhost {
namespace {

constexpr std::array kSignals{SIGHUP, SIGINT, SIGTERM};

// What the signal handler removes; a plain array, as a handler may not touch a std::string. Empty: nothing.
std::array<char, 4096> g_temporary{};

void RemoveAndDie(int signal) {
    if (g_temporary[0] != '\0') ::unlink(g_temporary.data());
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

// Hidden, beside the file, with its extension, and nobody else's.
std::filesystem::path TemporaryBeside(const std::filesystem::path& file) {
    std::random_device random;
    std::filesystem::path name = file.parent_path() / ".";
    name += file.stem();
    for (const auto number : {static_cast<unsigned>(::getpid()), random()}) {
        name += ".";
        name += std::to_string(number);
    }
    name += file.extension();
    return name;
}

}  // namespace

OutputFile::OutputFile(const std::filesystem::path& target)
    : target_(std::filesystem::weakly_canonical(target)),  // a link stays, what it leads to is replaced
      temporary_(TemporaryBeside(target_)) {
    const std::string name = temporary_.string();
    if (name.size() >= g_temporary.size()) throw std::runtime_error(target.string() + ": the path is too long");
    std::strcpy(g_temporary.data(), name.c_str());
    for (const int signal : kSignals) {
        if (std::signal(signal, RemoveAndDie) == SIG_IGN) std::signal(signal, SIG_IGN);
    }
}

OutputFile::~OutputFile() {
    std::error_code ignored;
    std::filesystem::remove(temporary_, ignored);
    g_temporary[0] = '\0';
}

void OutputFile::Commit() {
    std::error_code error;
    std::filesystem::rename(temporary_, target_, error);
    if (error) throw std::runtime_error(target_.string() + ": cannot be written: " + error.message());
}

}  // namespace nuvhost
