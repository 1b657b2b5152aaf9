// A file that appears complete or not at all.
#pragma once

#include <filesystem>
#include <functional>

namespace nuvhost {

// From now on a signal that asks the process to end (hang-up, interrupt, terminate) removes every temporary file
// first and calls `last`, on a thread of its own; the process then dies of that signal. Called once, before
// anything starts threads.
void RemoveTemporariesOnSignal(void (*last)() = [] {});

// Where the file really is or would be made: follows links also where the last one leads to nothing yet. The file's
// name is absolute. Links that cannot be followed are left.
std::filesystem::path BehindLinks(std::filesystem::path file);

// Is written under a temporary name in the target's folder and moved over the target by Commit; until then
// nothing is left behind, whether by an exception or by a signal. Any number at once, on any threads.
class OutputFile {
public:
    // The folder must exist. Creates nothing. A target that is a link stays one, what it leads to is written.
    explicit OutputFile(const std::filesystem::path& target);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Ends in the target's extension and is no other process's.
    const std::filesystem::path& temporary() const { return temporary_; }
    // What makes the file is called here, so that it cannot come into being while a signal takes its like away.
    bool Create(const std::function<bool()>& make);
    // Once whoever wrote the file has closed it. It has reached the disk before it gets its name, as network file
    // systems tell no sooner what they could not keep. Throws std::runtime_error.
    void Commit();

private:
    std::filesystem::path name_, target_, temporary_;
    int descriptor_ = -1;  // of the temporary file, since it was made: what goes wrong from then on is told to it
};

}  // namespace nuvhost
