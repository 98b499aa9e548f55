#pragma once
// A fresh temporary directory per test, removed again at the end of the test, with a helper
// to write input files into it; and the text of the input error a reader raises.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "common/fatal_error.hpp"

namespace pelix::test_support {

class ScratchDir {
  public:
    ScratchDir() {
        static int serial = 0;
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        std::string name = "pelix_" + std::to_string(::getpid()) + "_" + std::to_string(++serial);
        if (info != nullptr)
            name += std::string("_") + info->test_suite_name() + "_" + info->name();
        for (char& c : name) {
            if (c == '/')
                c = '_';
        }
        dir_ = std::filesystem::temp_directory_path() / name;
        std::filesystem::remove_all(dir_);
        std::filesystem::create_directories(dir_);
    }
    ~ScratchDir() {
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    std::string path(const std::string& file) const { return (dir_ / file).string(); }

    // Writes `text` as the whole content of `file` and returns the file's path.
    std::string write(const std::string& file, const std::string& text) const {
        std::ofstream out(path(file), std::ios::binary | std::ios::trunc);
        out << text;
        return path(file);
    }

  private:
    std::filesystem::path dir_;
};

// Runs `read`, which must fail with an input error (exit status 2, one line), and returns
// that line; an empty string when it did not fail that way.
template <class Read>
std::string input_error_text(Read&& read) {
    try {
        read();
    } catch (const FatalError& error) {
        EXPECT_EQ(error.exit_status(), kExitInput);
        EXPECT_EQ(error.lines().size(), 1u);
        return error.lines().empty() ? std::string() : error.lines().front();
    }
    ADD_FAILURE() << "expected an input error";
    return {};
}

}  // namespace pelix::test_support
