#pragma once
// Pieces shared by the tests of the tabulated families: a scratch directory that is also the
// working directory for the length of a test, and writers of table files sampled from
// analytic functions, so that expected values never come from the spline code itself.
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>

#include "scratch_dir.hpp"

namespace pelix::test_support {

class ScratchWorkingDir : public ScratchDir {
  public:
    ScratchWorkingDir() : previous_(std::filesystem::current_path()) {
        std::filesystem::current_path(path("."));
    }
    ~ScratchWorkingDir() { std::filesystem::current_path(previous_); }

  private:
    std::filesystem::path previous_;
};

// n points x_k = x0 + k (x1 - x0) / (n - 1) of f, one record per point: "x f(x)", or
// "x f(x) -f'(x)" when `slope` is given. Returns the text, count first.
inline std::string sampled_table(int n, double x0, double x1,
                                 const std::function<double(double)>& f,
                                 const std::function<double(double)>& slope = nullptr) {
    std::string text = std::to_string(n) + "\n";
    const double h = n > 1 ? (x1 - x0) / (n - 1) : 0.0;
    char line[128];
    for (int k = 0; k < n; ++k) {
        const double x = x0 + k * h;
        if (slope)
            std::snprintf(line, sizeof line, "%.17g %.17g %.17g\n", x, f(x), -slope(x));
        else
            std::snprintf(line, sizeof line, "%.17g %.17g\n", x, f(x));
        text += line;
    }
    return text;
}

}  // namespace pelix::test_support
