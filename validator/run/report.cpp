#include "validator/run/report.h"

#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include <nlohmann/json.hpp>

#include "validator/errors.h"

namespace validator {
namespace {

using nlohmann::ordered_json;

std::string Joined(std::span<const std::string> lines) {
    std::string text;
    for (const std::string& line : lines)
        text += (text.empty() ? "" : "\n") + line;
    return text;
}

bool IsRed(Status status) {
    return status == Status::failed || status == Status::doesNotDeviate || status == Status::notRun;
}

std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '&') {
            escaped += "&amp;";
        } else if (c == '<') {
            escaped += "&lt;";
        } else if (c == '"') {
            escaped += "&quot;";
        } else if (c == '\n') {
            escaped += "&#10;";
        } else {
            const bool printable = static_cast<unsigned char>(c) >= 0x20 && static_cast<unsigned char>(c) < 0x7F;
            escaped += printable ? c : '?';
        }
    }
    return escaped;
}

std::string Why(const Result& result) {
    if (result.status == Status::doesNotDeviate) {
        const std::string& why = result.outcome.notApplicable;
        return "is listed as a deviation, but " + (why.empty() ? "holds" : "is not applicable, because " + why) +
               ": " + result.reason;
    }
    if (result.status == Status::notRun) return "a check on which all others depend has failed";
    if (result.status == Status::notApplicable) return result.outcome.notApplicable;
    std::vector<std::string> lines = result.differences.empty() ? result.outcome.failures : result.differences;
    if (!result.differences.empty()) lines.insert(lines.begin(), "does not deviate as listed");
    if (!result.outcome.printed.empty()) lines.push_back("printed: " + result.outcome.printed);
    return Joined(lines);
}

// Writes `text` to a new file beside `file`. Then moves it over `file` if `stays`, or else removes it.
void Replace(const std::filesystem::path& file, const std::string& text, bool stays) {
    auto partial = file;
    partial += ".partial";
    std::error_code error;
    {
        std::ofstream stream(partial, std::ios::binary);
        stream << text;
        stream.close();
        if (!stream) error.assign(errno, std::generic_category());
    }
    if (!error && stays) std::filesystem::rename(partial, file, error);
    std::error_code ignored;
    if (error || !stays) std::filesystem::remove(partial, ignored);
    if (error) throw std::runtime_error(file.string() + ": cannot be written: " + error.message());
}

}  // namespace

std::string Lines(const Result& result, const std::filesystem::path& plugin, bool verbose) {
    std::string head(NameOf(result.status));
    head.resize(18, ' ');
    head += std::string(result.check->id) + " (" + std::string(NameOf(result.personality)) + ")";
    if (result.status == Status::passed) return head + "\n";
    std::string text = head + ": " + (result.status == Status::deviates ? result.reason : Why(result));
    if (result.status == Status::deviates && verbose) text += "\n" + Why(result);
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 5)
        text.replace(at, 1, "\n    ");
    text += "\n";
    if (result.status == Status::failed) {
        text += "    promise: " + std::string(result.check->promise) + "\n    repeat:  nuvhost validate \"" +
                plugin.string() + "\" --check " + std::string(result.check->id) + " --seed " +
                std::to_string(result.seed) + "\n";
    }
    return text;
}

std::string Summary(const Counts& counts, std::uint64_t seed) {
    std::string text = std::to_string(counts.passed) + " passed, " + std::to_string(counts.failed) + " failed, " +
                       std::to_string(counts.deviating) + " deviate as listed";
    if (counts.notApplicable > 0) text += ", " + std::to_string(counts.notApplicable) + " not applicable";
    if (counts.notRun > 0) text += ", " + std::to_string(counts.notRun) + " not run";
    if (counts.points > 0) text += "; " + std::to_string(counts.points) + " points tried";
    return text + "; seed " + std::to_string(seed) + " repeats it";
}

std::string Json(std::span<const Result> results, const std::filesystem::path& plugin) {
    ordered_json list = ordered_json::array();
    for (const Result& result : results) {
        ordered_json entry = {{"id", result.check->id},
                              {"personality", NameOf(result.personality)},
                              {"promise", result.check->promise},
                              {"status", WordOf(result.status)},
                              {"seed", result.seed},
                              {"seconds", result.outcome.seconds},
                              {"points", result.outcome.points},
                              {"failures", result.outcome.failures}};
        if (!result.reason.empty()) entry["reason"] = result.reason;
        if (!result.differences.empty()) entry["differences"] = result.differences;
        if (!result.outcome.printed.empty()) entry["printed"] = result.outcome.printed;
        if (!result.outcome.notApplicable.empty()) entry["notApplicable"] = result.outcome.notApplicable;
        list.push_back(std::move(entry));
    }
    const Counts counts = Count(results);
    const ordered_json report = {
        {"plugin", plugin.string()}, {"green", counts.Green()},       {"passed", counts.passed},
        {"failed", counts.failed},   {"deviating", counts.deviating}, {"notApplicable", counts.notApplicable},
        {"notRun", counts.notRun},   {"points", counts.points},       {"checks", std::move(list)}};
    return report.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

std::string Junit(std::span<const Result> results, const std::filesystem::path& plugin) {
    const Counts counts = Count(results);
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuite name=\"" + Escaped(plugin.string()) +
                       "\" tests=\"" + std::to_string(results.size()) + "\" failures=\"" +
                       std::to_string(counts.failed + counts.notRun) + "\" skipped=\"" +
                       std::to_string(counts.notApplicable) + "\">\n";
    for (const Result& result : results) {
        text += "  <testcase classname=\"" + std::string(NameOf(result.personality)) + "\" name=\"" +
                std::string(result.check->id) + "\" time=\"" + std::to_string(result.outcome.seconds) + "\"";
        if (IsRed(result.status)) {
            text += "><failure message=\"" + Escaped(Why(result)) + "\"/></testcase>\n";
        } else if (result.status == Status::notApplicable) {
            text += "><skipped message=\"" + Escaped(Why(result)) + "\"/></testcase>\n";
        } else if (result.status == Status::deviates) {
            text += "><system-out>" + Escaped(result.reason + "\n" + Why(result)) + "</system-out></testcase>\n";
        } else {
            text += "/>\n";
        }
    }
    return text + "</testsuite>\n";
}

void RequireWritable(const std::filesystem::path& file) {
    if (std::filesystem::is_directory(file)) throw UsageError(file.string() + ": is a folder");
    Replace(file, "", false);
}

void WriteFile(const std::filesystem::path& file, const std::string& text) {
    Replace(file, text, true);
}

}  // namespace validator
