#pragma once
// Shared by the reader harnesses: the fuzzer's bytes become a file in a private directory and
// the reader is run on it. A reader may refuse the file with its stop or input error (a
// FatalError, which the module would turn into the end of the process); anything else that
// escapes, and every crash or sanitizer report, is a finding.
#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "common/fatal_error.hpp"

namespace pelix::fuzz {

// A directory of this process, made on first use and removed at exit.
inline const std::string& scratch_directory() {
    static const std::string directory = [] {
        char pattern[] = "/tmp/pelix-fuzz-XXXXXX";
        const char* made = mkdtemp(pattern);
        if (made == nullptr)
            std::abort();
        return std::string(made);
    }();
    // Registered once the name exists, so the removal runs before the name is destroyed.
    static const bool removed_at_exit = std::atexit([] {
                                            std::error_code ignored;
                                            std::filesystem::remove_all(directory, ignored);
                                        }) == 0;
    (void)removed_at_exit;
    return directory;
}

// For the readers that take fixed file names from the working directory: the scratch
// directory is the working directory while this lives, and the previous one is restored
// afterwards, so that relative paths given to the fuzzer keep working between inputs.
class InScratchDirectory {
  public:
    InScratchDirectory() : previous_(open(".", O_RDONLY | O_DIRECTORY)) {
        if (previous_ < 0 || chdir(scratch_directory().c_str()) != 0)
            std::abort();
    }
    ~InScratchDirectory() {
        if (fchdir(previous_) != 0)
            std::abort();
        close(previous_);
    }
    InScratchDirectory(const InScratchDirectory&) = delete;
    InScratchDirectory& operator=(const InScratchDirectory&) = delete;

  private:
    int previous_;
};

// Writes the bytes to the file `name` in the scratch directory and returns its path.
inline std::string write_input(const uint8_t* data, std::size_t size, const char* name) {
    std::string path = scratch_directory() + "/" + name;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    return path;
}

// Writes the input to `name` in the scratch directory and runs `reader` on that path.
template <class Reader>
void run_reader_on_input(const uint8_t* data, std::size_t size, const char* name, Reader&& reader) {
    const std::string path = write_input(data, size, name);
    try {
        reader(path);
    } catch (const FatalError&) {
        // The reader's own refusal of the file: the specified outcome.
    }
}

}  // namespace pelix::fuzz
