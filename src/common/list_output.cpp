#include "common/list_output.hpp"

#include <cmath>
#include <cstdio>

namespace pelix {

std::string format_list_double(double v) {
    char buf[64];
    const double a = std::fabs(v);
    if (std::isnan(v)) {
        std::snprintf(buf, sizeof buf, "%26s", "NaN");
    } else if (std::isinf(v)) {
        std::snprintf(buf, sizeof buf, "%26s", v > 0 ? "Infinity" : "-Infinity");
    } else if (a == 0.0 || (a >= 0.1 && a < 1e16)) {
        // Fixed notation with 17 significant digits in all.
        const int int_digits = a < 1.0 ? 1 : static_cast<int>(std::floor(std::log10(a))) + 1;
        const int decimals = a < 1.0 ? 17 : 17 - int_digits;
        std::snprintf(buf, sizeof buf, "%26.*f", decimals < 0 ? 0 : decimals, v);
    } else {
        std::snprintf(buf, sizeof buf, "%26.16E", v);
    }
    return buf;
}

ListLine& ListLine::operator<<(std::string_view s) {
    if (!last_was_text_)
        text_ += ' ';
    text_ += s;
    last_was_text_ = true;
    return *this;
}

ListLine& ListLine::operator<<(int32_t v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%12d", v);
    text_ += buf;
    last_was_text_ = false;
    return *this;
}

ListLine& ListLine::operator<<(double v) {
    text_ += format_list_double(v);
    last_was_text_ = false;
    return *this;
}

ListLine& ListLine::operator<<(bool v) {
    text_ += v ? " T" : " F";
    last_was_text_ = false;
    return *this;
}

void write_stdout_line(const std::string& line) {
    std::fputs(line.c_str(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

void write_stderr_line(const std::string& line) {
    std::fputs(line.c_str(), stderr);
    std::fputc('\n', stderr);
    std::fflush(stderr);
}

}  // namespace pelix
