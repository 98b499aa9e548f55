// The run configuration reader on arbitrary file contents.
#include "config/run_config.hpp"
#include "fuzz_input_file.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    pelix::fuzz::run_reader_on_input(data, size, "pelix.IN", [](const std::string& path) {
        pelix::RunConfig config;
        pelix::SpatialDecomposition sd;
        pelix::read_pelixin(config, sd, path);
    });
    return 0;
}
