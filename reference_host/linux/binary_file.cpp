#include "reference_host/binary_file.h"

#include <elf.h>

#include <istream>

namespace refhost {
namespace {

template <typename Part>
bool Read(std::istream& stream, std::uint64_t at, Part& part) {
    stream.seekg(static_cast<std::streamoff>(at));
    return static_cast<bool>(stream.read(reinterpret_cast<char*>(&part), sizeof part));
}

// Whether the file ends before the parts that its header names. The system's loader reports any other fault.
bool CutOff(std::istream& stream, std::uintmax_t size) {
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

}  // namespace

std::string WhyNotOfThisSystem(std::istream& stream, std::string_view start, std::uintmax_t size) {
    if (start.starts_with("MZ")) return "is a Windows program; this program takes Linux libraries";
    return start == ELFMAG && CutOff(stream, size) ? "is cut off" : "";
}

}  // namespace refhost
