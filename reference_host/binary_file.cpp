#include "reference_host/binary_file.h"

#include <cstdint>
#include <cstring>
#include <fstream>
#include <string_view>
#include <system_error>

#ifndef _WIN32
#include <elf.h>
#endif

namespace refhost {
namespace {

#ifdef _WIN32

constexpr std::string_view kOther =
    "\x7f"
    "ELF";
constexpr auto kIsOther = "is a Linux library; this program takes Windows ones";

bool CutOff(std::ifstream&, std::uintmax_t) {
    return false;  // the loader of Windows checks this itself
}

#else

constexpr std::string_view kOther = "MZ";
constexpr auto kIsOther = "is a Windows program; this program takes Linux libraries";

template <typename Part>
bool Read(std::ifstream& stream, std::uint64_t at, Part& part) {
    stream.seekg(static_cast<std::streamoff>(at));
    return static_cast<bool>(stream.read(reinterpret_cast<char*>(&part), sizeof part));
}

// Whether the file ends before the parts that its header names. The system's loader reports any other fault.
bool CutOff(std::ifstream& stream, std::uintmax_t size) {
    char start[SELFMAG];
    if (!Read(stream, 0, start) || std::memcmp(start, ELFMAG, SELFMAG) != 0) return false;
    Elf64_Ehdr header;
    if (!Read(stream, 0, header)) return true;
    if (header.e_ident[EI_CLASS] != ELFCLASS64 || header.e_ident[EI_DATA] != ELFDATA2LSB) return false;
    for (unsigned i = 0; i < header.e_phnum; ++i) {
        Elf64_Phdr segment;
        if (!Read(stream, header.e_phoff + std::uint64_t{i} * header.e_phentsize, segment)) return true;
        const bool mapped = segment.p_type == PT_LOAD;
        if (mapped && (segment.p_offset > size || segment.p_filesz > size - segment.p_offset)) return true;
    }
    return false;
}

#endif

}  // namespace

std::string WhyNotLoadable(const std::filesystem::path& file) {
    std::error_code failure;
    const auto status = std::filesystem::status(file, failure);
    if (status.type() == std::filesystem::file_type::not_found) return "no such file";
    if (status.type() == std::filesystem::file_type::none) return "cannot be read: " + failure.message();
    if (std::filesystem::is_directory(status)) return "is a folder";
    if (!std::filesystem::is_regular_file(status)) return "is not a file";

    std::ifstream stream(file, std::ios::binary);
    std::string start(kOther.size(), '\0');
    stream.read(start.data(), static_cast<std::streamsize>(start.size()));
    if (stream && start == kOther) return kIsOther;
    stream.clear();
    return CutOff(stream, std::filesystem::file_size(file, failure)) ? "is cut off" : "";
}

}  // namespace refhost
