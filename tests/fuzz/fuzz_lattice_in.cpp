// The lattice slab reader on arbitrary file contents, for a box that is not a multiple of the
// usual slab widths.
#include "config/lattice.hpp"
#include "fuzz_input_file.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    pelix::fuzz::run_reader_on_input(data, size, "lattice.IN", [](const std::string& path) {
        pelix::LatticeConstraints constraints;
        pelix::get_lattice_constrains(constraints, 23.5, 17.25, 31.0, path);
    });
    return 0;
}
