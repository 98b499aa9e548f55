#pragma once
// A fresh temporary directory per test (optionally the working directory while it lives),
// removed again at the end; the stop an action ends in; the text of a reader's input error.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "common/fatal_error.hpp"

namespace pelix::test_support {

class ScratchDir {
  public:
    explicit ScratchDir(bool enter = false) {
        static int serial = 0;
        dir_ = std::filesystem::temp_directory_path() /
               ("pelix_" + std::to_string(::getpid()) + "_" + std::to_string(++serial));
        std::filesystem::remove_all(dir_);
        std::filesystem::create_directories(dir_);
        previous_ = enter ? std::filesystem::current_path() : std::filesystem::path();
        if (enter)
            std::filesystem::current_path(dir_);
    }
    ~ScratchDir() {
        std::error_code ec;
        if (!previous_.empty())
            std::filesystem::current_path(previous_, ec);
        std::filesystem::remove_all(dir_, ec);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    std::string path(const std::string& file) const { return (dir_ / file).string(); }
    // Writes `text` as the whole content of `file` and returns the file's path.
    std::string write(const std::string& file, const std::string& text) const {
        std::ofstream(path(file), std::ios::binary | std::ios::trunc) << text;
        return path(file);
    }

  private:
    std::filesystem::path dir_, previous_;
};

// The exit status and lines of the stop `action` ends in; status 0 when it returns.
struct Stop {
    int status = 0;
    std::vector<std::string> lines;
    std::string first() const { return lines.empty() ? "no stop" : lines.front(); }
};
template <class Action>
Stop stop_of(Action&& action) {
    try {
        action();
        return {};
    } catch (const FatalError& error) {
        return {error.exit_status(), error.lines()};
    }
}

// Runs `read`, which must fail with an input error (exit status 2, one line), and returns
// that line; an empty string when it did not fail that way.
template <class Read>
std::string input_error_text(Read&& read) {
    const Stop stop = stop_of(read);
    EXPECT_TRUE(stop.status == kExitInput && stop.lines.size() == 1u) << stop.first();
    return stop.lines.empty() ? std::string() : stop.lines.front();
}

}  // namespace pelix::test_support
