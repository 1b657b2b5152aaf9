// What the program needs to know of its terminal.
#pragma once

#include <filesystem>
#include <string>

namespace nuvhost {

std::filesystem::path ThisProgram();

// A line of progress below the output on a terminal. If standard output is not a terminal, it shows nothing.
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
