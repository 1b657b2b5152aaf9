// The program's surroundings.
#pragma once

#include <filesystem>
#include <string>

namespace nuvhost {

std::filesystem::path ThisProgram();

// One line at the foot of a terminal's output; nothing where standard output is no terminal.
class ProgressLine {
public:
    ProgressLine();
    bool shown() const { return shown_; }
    void Show(const std::string& text) const;
    void Clear() const;

private:
    bool shown_;
};

}  // namespace nuvhost
