// The multipole settings readers, which read "dpmta.IN" and "fmmp.IN" from the working
// directory: the first byte chooses the file, the rest is its contents.
#include "electrostatics/multipole_settings.hpp"
#include "engine/engine.hpp"
#include "fuzz_input_file.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const pelix::fuzz::InScratchDirectory in_scratch;
    const bool dpmta = (data[0] & 1) != 0;
    pelix::fuzz::run_reader_on_input(data + 1, size - 1, dpmta ? "dpmta.IN" : "fmmp.IN",
                                     [dpmta](const std::string&) {
                                         pelix::Engine engine;
                                         if (dpmta)
                                             pelix::read_dpmta_in(engine);
                                         else
                                             pelix::read_fmmp_in(engine);
                                         pelix::finalise_multipole(engine);
                                     });
    return 0;
}
