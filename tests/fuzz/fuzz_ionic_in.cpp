// The "BPUPOTL" set-up on arbitrary "buck.IN" contents: the reader of the ionic parameter
// files, the pair types in file order, every row's checks and fitted (or given) bridge, then
// the cut-off of every pair type (both orders of its elements, and one pair the file may not
// have) and the pair function at distances across each region of every defined pair type.
// The same contents as "AzizHe2.IN" then go through the helium keyword (named variants, rows
// over built-in ones, the helium forms).
#include <cmath>
#include <vector>

#include "engine/engine.hpp"
#include "fuzz_input_file.hpp"
#include "potentials/ionic/ionic.hpp"
#include "potentials/ionic/ionic_family.hpp"
#include "potentials/ionic/keywords.hpp"

namespace {

using BpupotlOperations =
    pelix::IonicOperations<pelix::kBpupotlKeyword, &pelix::FamilyStates::bpupotl>;
using AzizOperations =
    pelix::IonicOperations<pelix::kAzizhe2Keyword, &pelix::FamilyStates::azizhe2>;

// Distances in and at the ends of every region of a pair type: the screened repulsion, the
// bridge, the long-range form, the taper and beyond the cut-off; and a few fixed ones.
std::vector<double> distances(const pelix::IonicPairType& p) {
    const pelix::IonicPairRow& row = p.row;
    const double r_cut = row.taper_centre + row.taper_half_width;
    std::vector<double> out{0.05, 0.3, 0.61, 1.0, 1.5, 2.0, 3.0, 5.0, 5.75, 6.0, 6.5, 7.0};
    for (const double r : {0.5 * row.r_zbl, row.r_zbl, 0.5 * (row.r_zbl + row.r_join), row.r_join,
                           0.5 * (row.r_join + p.taper_start), p.taper_start, row.taper_centre,
                           0.5 * (row.taper_centre + r_cut), r_cut, 1.1 * r_cut})
        if (std::isfinite(r) && r > 0.0)
            out.push_back(r);
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    pelix::fuzz::InScratchDirectory here;
    pelix::fuzz::run_reader_on_input(data, size, "buck.IN", [](const std::string&) {
        pelix::Engine engine;
        BpupotlOperations::setup(engine, 1);
        const pelix::IonicState& state = engine.families.bpupotl;
        const pelix::IonicFamily<pelix::kBpupotlKeyword> family{state};
        for (int32_t t = 1; t <= static_cast<int32_t>(state.types.size()); ++t) {
            const pelix::ElementPair& pair = state.types[static_cast<std::size_t>(t - 1)];
            (void)BpupotlOperations::cutoff_squared(engine, pair.za, pair.zb);
            (void)BpupotlOperations::cutoff_squared(engine, pair.zb, pair.za);
            (void)family.mapij(pair.zb, pair.za);
            (void)family.conrh2(t);
            (void)family.selects(pair.za);
            const pelix::IonicPairType& p = state.of_type(t);
            if (!p.defined)
                continue;
            for (const double r : distances(p)) {
                (void)pelix::ionic_pair(state, t, r);
                double v = 0.0, g = 0.0;
                pelix::ionic_bond(p, r, v, g);
            }
        }
        // A pair the file need not have: its cut-off stops with the keyword's message.
        (void)BpupotlOperations::cutoff_squared(engine, 1, 2);
    });
    pelix::fuzz::run_reader_on_input(data, size, "AzizHe2.IN", [](const std::string&) {
        pelix::Engine engine;
        AzizOperations::setup(engine, 1);
        (void)AzizOperations::cutoff_squared(engine, 2, 2);
        const pelix::IonicState& state = engine.families.azizhe2;
        for (const double r : distances(state.of_type(1)))
            (void)pelix::ionic_pair(state, 1, r);
    });
    return 0;
}
