// The "GIOVANI" set-up on arbitrary nickel files: the input holds "NiF.IN", "Niphi.IN" and
// "Niv.IN" one after the other, separated by lines "---" (a part left out keeps a valid file).
// Then the cut-off of every pair type and each pair term and density across its regions.
#include <string>
#include <string_view>

#include "engine/engine.hpp"
#include "fuzz_input_file.hpp"
#include "potentials/knot_eam/giovani.hpp"
#include "potentials/knot_eam/knot_eam.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    pelix::fuzz::InScratchDirectory here;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const char* names[] = {"NiF.IN", "Niphi.IN", "Niv.IN"};
    const char* valid[] = {"0.5 -7.9\n1 5.95\n", "27.875 2 5.6 0.25\n", "2.0 100\ndensity -11.9\n"};
    std::size_t from = 0;
    for (int k = 0; k < 3; ++k) {
        const std::size_t end = std::min(input.find("\n---\n", from), input.size());
        const std::string_view part =
            from <= input.size() ? input.substr(from, end - from) : std::string_view(valid[k]);
        pelix::fuzz::write_input(reinterpret_cast<const uint8_t*>(part.data()), part.size(),
                                 names[k]);
        from = end + 5;
    }
    pelix::fuzz::run_reader_on_input(data, 0, "unused", [](const std::string&) {
        pelix::Engine engine;
        pelix::setup_prms_for_giovani(engine, 1);
        const pelix::KnotEamState& state = engine.families.giovani;
        for (int32_t t = 1; t <= static_cast<int32_t>(state.pair.size()); ++t)
            for (const double r : {0.3, 0.6, 1.0, 2.0, 3.0, 5.0})
                (void)pelix::knot_eam_pair(state, t, r),
                    (void)pelix::knot_eam_density(state, state.of_type(t).za, t, r);
        for (const int32_t za : {24, 26, 28})
            for (const int32_t zb : {24, 26, 28})
                (void)pelix::giovani_cutoff_squared(engine, za, zb);
    });
    return 0;
}
