#pragma once
// List-directed output in the familiar Fortran look: a leading blank, then the items
// separated by blanks; integers right-aligned in 12 columns, doubles with 17 significant
// digits. Lines go to the C standard output and are flushed at once so that they interleave
// correctly with the caller's own output.
#include <cstdint>
#include <string>
#include <string_view>

namespace pelix {

class ListLine {
  public:
    ListLine() : text_(" ") {}
    ListLine& operator<<(std::string_view s);
    ListLine& operator<<(const char* s) { return *this << std::string_view(s); }
    ListLine& operator<<(const std::string& s) { return *this << std::string_view(s); }
    ListLine& operator<<(int32_t v);
    ListLine& operator<<(double v);
    ListLine& operator<<(bool v);
    const std::string& str() const { return text_; }

  private:
    std::string text_;
    bool last_was_text_ = true;
};

std::string format_list_double(double v);

// Writes one line (a newline is appended) to standard output and flushes.
void write_stdout_line(const std::string& line);
// Writes one line to standard error and flushes.
void write_stderr_line(const std::string& line);

}  // namespace pelix
