// The potential registry on arbitrary "potfor.IN" contents, followed by the set-up of every
// family the file names for Fe and O. The multipole settings files are not read (their own
// readers are fuzzed apart), so the family set-ups are reached.
#include "engine/engine.hpp"
#include "fuzz_input_file.hpp"
#include "interaction/registry.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    pelix::fuzz::run_reader_on_input(data, size, "potfor.IN", [](const std::string& path) {
        pelix::Engine engine;
        engine.config.multipole_flag = 2;
        pelix::setup_interaction_parameters(engine, 2, {"Fe", "O_"}, 1, path);
        pelix::potfor_finalise(engine);
    });
    return 0;
}
