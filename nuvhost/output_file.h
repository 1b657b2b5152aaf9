// A file that appears complete or not at all.
#pragma once

#include <filesystem>

namespace nuvhost {

// Is written under a temporary name in the target's folder and moved over the target by Commit; until then
// nothing is left behind, whether by an exception or by a signal that asks the process to end. One at a time.
class OutputFile {
public:
    // The folder must exist. Creates nothing.
    explicit OutputFile(const std::filesystem::path& target);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Ends in the target's extension and is no other process's.
    const std::filesystem::path& temporary() const { return temporary_; }
    void Commit();  // throws std::runtime_error

private:
    std::filesystem::path target_, temporary_;
};

}  // namespace nuvhost
