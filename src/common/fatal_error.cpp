#include "common/fatal_error.hpp"

#include <numeric>

namespace pelix {

namespace {
std::string join_lines(const std::vector<std::string>& lines) {
    std::string joined;
    for (const auto& line : lines) {
        if (!joined.empty())
            joined += '\n';
        joined += line;
    }
    return joined;
}
}  // namespace

FatalError::FatalError(std::vector<std::string> lines, int exit_status)
    : std::runtime_error(join_lines(lines)), lines_(std::move(lines)), exit_status_(exit_status) {}

void nrerror(const std::string& message) {
    throw FatalError({" nrerror: " + message, "program terminated by nerror"}, kExitFatal);
}

void fatal_stop(std::vector<std::string> lines, int exit_status) {
    throw FatalError(std::move(lines), exit_status);
}

void input_error(const std::string& file, int line, const std::string& what) {
    std::string text = file;
    if (line > 0)
        text += " line " + std::to_string(line);
    throw FatalError({text + ": " + what}, kExitInput);
}

}  // namespace pelix
