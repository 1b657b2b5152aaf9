#include "console/terminal.h"

#include <cstdio>

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace nuvhost {

#if defined(_WIN32)

std::filesystem::path ThisProgram() {
    std::wstring name(32768, L'\0');
    name.resize(GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size())));
    return name;
}

ProgressLine::ProgressLine() : shown_(false) {}  // never shown: old consoles print the codes that clear a line

#else

std::filesystem::path ThisProgram() {
    return std::filesystem::read_symlink("/proc/self/exe");
}

ProgressLine::ProgressLine() : shown_(::isatty(STDOUT_FILENO) != 0) {}

#endif

void ProgressLine::Show(const std::string& text) const {
    if (!shown_) return;
    std::printf("\r\x1b[K%s", text.c_str());
    std::fflush(stdout);
}

void ProgressLine::Clear() const {
    if (shown_) std::fputs("\r\x1b[K", stdout);
}

}  // namespace nuvhost
