#include "platform/process_state.h"

#include <immintrin.h>

#include <clocale>
#include <filesystem>

namespace platform {

std::string LocaleName() {
    const char* name = std::setlocale(LC_ALL, nullptr);  // NOLINT(concurrency-mt-unsafe)
    return name ? name : "";
}

std::string WorkingFolder() {
    return std::filesystem::current_path().string();
}

std::string FloatState() {
    constexpr unsigned kFlags = 0x3F;  // these bits are not settings: they record the exceptions so far
    return std::to_string(_mm_getcsr() & ~kFlags);
}

}  // namespace platform
