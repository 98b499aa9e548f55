// For compilers without libFuzzer: runs each file named on the command line through the
// harness once, so that a corpus or a saved crash input can be replayed under the sanitizers.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    for (int k = 1; k < argc; ++k) {
        std::ifstream file(argv[k], std::ios::binary);
        if (!file) {
            std::fprintf(stderr, "cannot read %s\n", argv[k]);
            return 1;
        }
        const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(file),
                                         std::istreambuf_iterator<char>()};
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    return 0;
}
