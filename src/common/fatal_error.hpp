#pragma once
// Fatal conditions of the engine. The core never ends the process itself: it throws
// FatalError carrying the exact lines to print and the exit status, and only the Python
// module boundary turns that into the end of the process. ArgumentError marks a call whose
// arguments would make the engine read or write outside the caller's arrays, or that have no
// finite answer (non-finite charges or box lengths, two atoms at the same position); the
// module raises it as PELIXInterface.error.
#include <stdexcept>
#include <string>
#include <vector>

namespace pelix {

inline constexpr int kExitFatal = 1;       // nrerror and the other specified stops
inline constexpr int kExitInput = 2;       // unreadable or malformed input files
inline constexpr int kExitLostAtoms = 10;  // checking_total_number_of_atoms

class FatalError : public std::runtime_error {
  public:
    FatalError(std::vector<std::string> lines, int exit_status);
    // The lines to write to standard output, in order, each ending with a newline.
    const std::vector<std::string>& lines() const { return lines_; }
    int exit_status() const { return exit_status_; }

  private:
    std::vector<std::string> lines_;
    int exit_status_;
};

class ArgumentError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The numerical utilities' fatal-error routine: " nrerror: <message>" as one list-directed
// record, then the stop text "program terminated by nerror"; exit status 1.
[[noreturn]] void nrerror(const std::string& message);

// A specified stop that prints its own lines (not through nrerror).
[[noreturn]] void fatal_stop(std::vector<std::string> lines, int exit_status = kExitFatal);

// An input/output error in a text file: "<file> line <n>: <what>"; exit status 2.
[[noreturn]] void input_error(const std::string& file, int line, const std::string& what);

}  // namespace pelix
