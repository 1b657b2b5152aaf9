#include "files/file_checks.h"

#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

#include "console/errors.h"
#include "files/output_file.h"

namespace nuvhost {

void Fail(const std::filesystem::path& file, std::string_view what, std::string_view error) {
    error = error.substr(0, error.find('\n'));
    throw std::runtime_error(file.string() + ": " + std::string(what) + (error.empty() ? "" : ": ") +
                             std::string(error));
}

void CheckReadable(const std::filesystem::path& file) {
    std::error_code failure;
    const auto status = std::filesystem::status(file, failure);
    if (status.type() == std::filesystem::file_type::not_found) Fail(file, "no such file");
    if (status.type() == std::filesystem::file_type::none) Fail(file, "cannot be read", failure.message());
    if (std::filesystem::is_directory(status)) Fail(file, "is a folder, not a picture");
    if (!std::filesystem::is_regular_file(status)) Fail(file, "is not a file");
    if (::access(file.c_str(), R_OK) != 0) Fail(file, "cannot be read", std::generic_category().message(errno));
}

void CheckOutputName(const std::filesystem::path& output) {
    std::error_code ignored;
    if (std::filesystem::is_directory(output, ignored)) throw UsageError(output.string() + ": is a folder");
    if (!output.has_extension()) throw UsageError(output.string() + kNoFormat);
}

void CheckWritable(const std::filesystem::path& output) {
    std::error_code error;
    const auto target = BehindLinks(std::filesystem::absolute(output));
    const auto folder = target.parent_path();
    if (::access(folder.c_str(), W_OK | X_OK) != 0 && errno != ENOENT && errno != ENOTDIR) {
        Fail(output, "no permission to write in the folder", folder.string());
    }
    if (!std::filesystem::is_directory(folder, error)) {
        const bool link = std::filesystem::is_symlink(output, error);
        Fail(output, link ? "is a link to no folder" : "no such folder",
             folder.string() + (link ? "" : " (--create-dir makes it)"));
    }
    const auto status = std::filesystem::status(output, error);
    if (status.type() == std::filesystem::file_type::none) Fail(output, "cannot be written", error.message());
    if (!std::filesystem::exists(status)) return;
    if (!std::filesystem::is_regular_file(status)) Fail(output, "is not a file");
    if (::access(target.c_str(), W_OK) != 0) Fail(output, "is write-protected");
}

}  // namespace nuvhost
