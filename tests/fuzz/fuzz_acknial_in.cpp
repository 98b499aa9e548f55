// The "ACKNIAL" set-up on arbitrary "acknial.IN" contents: the reader, the merge with the
// built-in nickel rows, the fitted bridges, then the cut-off of every pair type and the pair
// term and density of each defined one across its regions.
#include "engine/engine.hpp"
#include "fuzz_input_file.hpp"
#include "potentials/knot_eam/acknial.hpp"
#include "potentials/knot_eam/knot_eam.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    pelix::fuzz::InScratchDirectory here;
    pelix::fuzz::run_reader_on_input(data, size, "acknial.IN", [](const std::string&) {
        pelix::Engine engine;
        pelix::setup_prms_for_acknial(engine, 1);
        const pelix::KnotEamState& state = engine.families.acknial;
        for (int32_t t = 1; t <= static_cast<int32_t>(state.pair.size()); ++t) {
            const pelix::KnotEamPairType& pair = state.of_type(t);
            if (!pair.defined)
                continue;
            for (const double r : {0.3, 0.61, 1.0, 2.0, 3.0, 5.0})
                (void)pelix::knot_eam_pair(state, t, r),
                    (void)pelix::knot_eam_density(state, pair.za, t, r);
        }
        for (const int32_t za : {13, 28})
            for (const int32_t zb : {13, 28})
                (void)pelix::acknial_cutoff_squared(engine, za, zb);
    });
    return 0;
}
