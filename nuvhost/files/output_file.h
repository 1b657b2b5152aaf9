// A file that appears complete or not at all.
#pragma once

#include <filesystem>
#include <functional>

namespace nuvhost {

// After this call, a signal that asks the process to end (hang-up, interrupt, terminate) first removes every
// temporary file and calls `last`, on a thread of its own. Then the process dies of that signal. Call it once,
// before anything starts threads.
void RemoveTemporariesOnSignal(void (*last)() = [] {});

// The path at which the file exists or would be made. Follows links, even if the last one leads to a file that does
// not exist yet. `file` is an absolute path. Links that cannot be followed stay in the result.
std::filesystem::path BehindLinks(std::filesystem::path file);

// The file is written under a temporary name in the target's folder, and Commit renames it to the target. Before
// that, an exception or a signal leaves nothing behind. Any number of these objects may exist, on any threads.
class OutputFile {
public:
    // Creates nothing yet. The folder must exist. If the target is a link, the link stays and the file behind it is
    // written.
    explicit OutputFile(const std::filesystem::path& target);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Has the target's extension. No other process uses it.
    const std::filesystem::path& temporary() const { return temporary_; }
    // Calls `make`, which must create the temporary file. Returns what `make` returns. The clean-up after a signal
    // waits for `make` to end, so that it never misses a file.
    bool Create(const std::function<bool()>& make);
    // Call it when the writer has closed the file. It waits until the file is on the disk before it renames the
    // file, because network file systems report errors only then. Throws std::runtime_error.
    void Commit();

private:
    std::filesystem::path name_, target_, temporary_;
    // Open on the temporary file from its creation on, because the system reports write errors only to a descriptor
    // that is open when they happen.
    int descriptor_ = -1;
};

}  // namespace nuvhost
