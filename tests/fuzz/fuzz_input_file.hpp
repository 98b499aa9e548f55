#pragma once
// Shared by the reader harnesses: the fuzzer's bytes become a file in a private directory and
// the reader is run on it. A reader may refuse the file with its stop or input error (a
// FatalError, which the module would turn into the end of the process); anything else that
// escapes, and every crash or sanitizer report, is a finding.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

#include "common/fatal_error.hpp"

namespace pelix::fuzz {

// A directory of this process, made on first use.
inline const std::string& scratch_directory() {
    static const std::string directory = [] {
        char pattern[] = "/tmp/pelix-fuzz-XXXXXX";
        const char* made = mkdtemp(pattern);
        if (made == nullptr)
            std::abort();
        return std::string(made);
    }();
    return directory;
}

// Writes the input to `name` in the scratch directory and runs `reader` on that path.
template <class Reader>
void run_reader_on_input(const uint8_t* data, std::size_t size, const char* name, Reader&& reader) {
    const std::string path = scratch_directory() + "/" + name;
    {
        std::ofstream file(path, std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    try {
        reader(path);
    } catch (const FatalError&) {
        // The reader's own refusal of the file: the specified outcome.
    }
}

}  // namespace pelix::fuzz
