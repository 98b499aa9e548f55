// Ewald summation through whole force calls: Madelung constants of three ionic crystals (which
// also need the neighbour list to reach the real-space cut-off). Forces against the energy
// gradient are checked through the Python tests.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <tuple>
#include <vector>

#include "engine/engine.hpp"
#include "force_call_support.hpp"
#include "interface/driver.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

constexpr double kCoulomb = 14.39964485168457;
using Ion = std::array<double, 4>;  // x, y, z, charge

// Total energy of a whole periodic force call with "ZERO" for every pair, so that the Coulomb
// sum is all there is; forces and per-atom energies are left in `calls`.
double whole_call(const std::vector<Ion>& ions, double box, test_support::WholeCall& calls) {
    test_support::ScratchDir dir(true);
    dir.write("pelix.IN", test_support::run_configuration_text(1, 1));
    dir.write("lattice.IN", "0\n0\n0\n");
    dir.write("potfor.IN", "title\ncomment\n3\nNa Na ZERO\nNa O_ ZERO\nO_ O_ ZERO\n");
    for (const Ion& ion : ions)
        calls.specie.push_back(ion[3] > 0 ? 0 : 1), calls.charge.push_back(ion[3]),
            calls.pos.insert(calls.pos.end(), {ion[0], ion[1], ion[2]});
    Engine engine;
    CalcForceResult result;
    calcforce(engine, calls.call("NaO_", 2, box), result);
    EXPECT_EQ(result.status, 0);
    return result.totalenergy;
}

TEST(Ewald, MadelungConstantsOfRockSaltCaesiumChlorideAndZincBlende) {
    // Cation sites in the cell (fractions), the shift of each one's anion, the cell side, the
    // nearest-neighbour distance, the published constant, and the cells along each axis.
    using Sites = std::vector<std::array<double, 3>>;
    const Sites fcc{{0, 0, 0}, {0, .5, .5}, {.5, 0, .5}, {.5, .5, 0}};
    const std::tuple<Sites, std::array<double, 3>, double, double, double, int> cases[] = {
        {fcc, {0.5, 0, 0}, 5.64, 2.82, 1.747565, 2},
        {{{0, 0, 0}}, {0.5, 0.5, 0.5}, 4.12, 4.12 * std::sqrt(3.0) / 2.0, 1.762675, 3},
        {fcc, {0.25, 0.25, 0.25}, 5.41, 5.41 * std::sqrt(3.0) / 4.0, 1.638055, 2},
    };
    for (const auto& [cations, anion, a, d, madelung, cells] : cases) {
        // cells x cells x cells cells, shifted off the box faces.
        std::vector<Ion> ions;
        for (int i = 0; i < cells * cells * cells; ++i)
            for (const auto& s : cations)
                for (int k = 0; k < 2; ++k) {
                    Ion& ion = ions.emplace_back(Ion{0.3, 0.2, 0.1, k ? -1.0 : 1.0});
                    for (int x = 0, step = 1; x < 3; ++x, step *= cells)  // cell i / step % cells
                        ion[x] += (i / step % cells + s[x] + k * anion[x]) * a;
                }
        test_support::WholeCall calls;
        const double per_pair = whole_call(ions, a * cells, calls) / (0.5 * double(ions.size()));
        const double expected = -madelung * kCoulomb / d;
        EXPECT_NEAR(per_pair, expected, 0.002 * std::fabs(expected)) << madelung;
        // Every ion of the ideal lattice sits at a centre of symmetry; equivalent ions carry
        // equal shares.
        for (double e : calls.pe)
            EXPECT_NEAR(e, expected / 2.0, 0.002 * std::fabs(expected)) << madelung;
        for (double f : calls.force)
            EXPECT_LT(std::fabs(f), 1e-6) << madelung;
    }
}

}  // namespace
}  // namespace pelix
