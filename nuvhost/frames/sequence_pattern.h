// File names that stand for a sequence of pictures.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace nuvhost {

// A path with a place for the frame's number. The number has at least as many digits as the place says, filled with
// zeros:
//   #       four digits; several # have one digit each, so #### has four, too
//   @       one digit; several @ have one digit each
//   %04d    as in printf; %d has one digit
// A minus sign counts as a digit: frame -5 with four digits is -005. If the file's name has such a place, the names
// of the folders are taken literally.
class SequencePattern {
public:
    // nullopt if the path has no such place. Throws UsageError if the file's name, or else its folders, has more
    // than one.
    static std::optional<SequencePattern> Parse(const std::filesystem::path& path);

    std::filesystem::path At(int frame) const;
    // The frames whose files or folders exist, in ascending order. Throws std::runtime_error if the folder to look
    // in cannot be read.
    std::vector<int> Existing() const;

private:
    std::string before_, after_;
    int width_ = 1;
};

}  // namespace nuvhost
