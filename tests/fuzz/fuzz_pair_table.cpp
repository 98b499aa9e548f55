// The pair-table reader of the tabulated pair families on arbitrary file contents, without a
// limit on the number of points, so that the count of the file is all there is to go by.
#include "fuzz_input_file.hpp"
#include "potentials/pair_table.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    pelix::fuzz::run_reader_on_input(data, size, "pair_table.IN", [](const std::string& path) {
        const pelix::PairTable table = pelix::read_pair_table(path);
        if (table.x.size() != table.y.size())
            std::abort();
    });
    return 0;
}
