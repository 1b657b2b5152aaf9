#include "reference_host/binary_file.h"

#include <fstream>
#include <system_error>

namespace refhost {

std::string WhyNotLoadable(const std::filesystem::path& file) {
    std::error_code failure;
    const auto status = std::filesystem::status(file, failure);
    if (status.type() == std::filesystem::file_type::not_found) return "no such file";
    if (status.type() == std::filesystem::file_type::none) return "cannot be read: " + failure.message();
    if (std::filesystem::is_directory(status)) return "is a folder";
    if (!std::filesystem::is_regular_file(status)) return "is not a file";

    std::ifstream stream(file, std::ios::binary);
    std::string start(4, '\0');
    stream.read(start.data(), static_cast<std::streamsize>(start.size()));
    start.resize(static_cast<std::size_t>(stream.gcount()));
    stream.clear();
    return WhyNotOfThisSystem(stream, start, std::filesystem::file_size(file, failure));
}

}  // namespace refhost
