// The "HeFePOT" set-up on arbitrary "HeFePOT.IN" contents: the reader, the fitted bridge and
// its checks, the cut-off of He-Fe in both orders; then the pair term across and at the ends of
// its regions, the radial and angular functions, and one whole evaluation of a helium atom with
// four iron neighbours (one pair of them in line with it) and an iron atom beyond the cut-off;
// last the refused He-He pair.
#include <cmath>
#include <vector>

#include "engine/engine.hpp"
#include "fuzz_input_file.hpp"
#include "potentials/hefepot/hefepot.hpp"

namespace {

// One evaluation of helium at the origin among iron atoms at xyz (x, y, z each).
void evaluate_cluster(pelix::Engine& engine, const std::vector<double>& xyz) {
    pelix::ForceFieldState& ff = engine.ff;
    const auto n = static_cast<int32_t>(xyz.size() / 3) + 1;
    engine.atoms.anum = {26, 2};
    ff.potnum.assign(2, 0);
    ff.potnum(0, 1) = ff.potnum(1, 0) = 1;
    ff.specie.assign(static_cast<std::size_t>(n), 0);
    ff.specie[0] = 1;
    ff.rx = {0.0}, ff.ry = {0.0}, ff.rz = {0.0};
    for (std::size_t k = 0; k < xyz.size(); k += 3)
        ff.rx.push_back(xyz[k]), ff.ry.push_back(xyz[k + 1]), ff.rz.push_back(xyz[k + 2]);
    for (int32_t a = 0; a < n; ++a) {
        ff.idnum.push_back(a + 1);
        ff.nebpnt.push_back(static_cast<int32_t>(ff.nebour.size()));
        for (int32_t b = 0; b < n; ++b)
            if (b != a)
                ff.nebour.push_back(b), ff.pbctyp.push_back(0);
    }
    ff.nebpnt.push_back(static_cast<int32_t>(ff.nebour.size()));
    engine.sd.myltpnebs = n;
    ff.fx = ff.fy = ff.fz = engine.atoms.pe = std::vector<double>(static_cast<std::size_t>(n), 0.0);
    pelix::hefepot_call(engine);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    pelix::fuzz::InScratchDirectory here;
    pelix::fuzz::run_reader_on_input(data, size, "HeFePOT.IN", [](const std::string&) {
        pelix::Engine engine;
        pelix::setup_prms_for_hefepot(engine, 1);
        const pelix::HefepotState& state = engine.families.hefepot;
        const double cutoff2 = pelix::hefepot_cutoff_squared(engine, 2, 26);
        (void)pelix::hefepot_cutoff_squared(engine, 26, 2);
        const double cutoff = std::sqrt(cutoff2);
        std::vector<double> distances{0.05, 0.3, 1.0, 2.0, 3.0, 5.0};
        for (const double r : {0.5 * state.r_zbl, state.r_zbl, 0.5 * (state.r_zbl + state.r_join),
                               state.r_join, state.r_c, std::nextafter(state.r_c, 0.0), cutoff})
            distances.push_back(r);
        for (const double r : distances) {
            double f = 0.0, df = 0.0;
            (void)pelix::hefepot_pair(state, r);
            pelix::hefepot_radial(state, r, f, df);
        }
        for (const double c : {-1.0, -0.5, 0.0, 0.3, 1.0}) {
            double g = 0.0, dg = 0.0;
            pelix::hefepot_angular(state, c, g, dg);
        }
        const double near = std::isfinite(cutoff) ? 0.5 * cutoff : 2.0;
        evaluate_cluster(engine, {near, 0, 0, 0.5 * near, 0, 0, -near, 0.1, 0, 0, near, 0.2, 0, 0,
                                  2.0 * near + 1.0});
        (void)pelix::hefepot_cutoff_squared(engine, 2, 2);  // stops
    });
    return 0;
}
