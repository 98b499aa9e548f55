// Ewald summation: Madelung constants of three ionic crystals through whole force calls, the
// half-space reciprocal sum and self term against a full-sphere sum written out here, the
// agreement with the bare image sum, and the neighbour reach the real-space sum relies on.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <string>
#include <vector>

#include "electrostatics/electrostatics.hpp"
#include "electrostatics/ewald.hpp"
#include "engine/engine.hpp"
#include "force_call_support.hpp"
#include "interface/driver.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

constexpr double kCoulomb = 14.39964485168457;

struct Ion {
    double x, y, z, q;
};

// Whole force calls in a scratch working directory: two species, "ZERO" for every pair, so
// that the Coulomb sum is all there is.
class ChargedCrystal : public ::testing::Test {
  protected:
    void SetUp() override {
        dir_.write("pelix.IN", test_support::run_configuration_text(1, 1));
        dir_.write("lattice.IN", "0\n0\n0\n");
        dir_.write("potfor.IN", "title\ncomment\n3\nNa Na ZERO\nNa O_ ZERO\nO_ O_ ZERO\n");
    }

    // Total energy; forces and per-atom energies are left in force_ and pe_.
    double run(const std::vector<Ion>& ions, double box) {
        calls_ = {};
        for (const Ion& ion : ions) {
            calls_.specie.push_back(ion.q > 0 ? 0 : 1);
            calls_.pos.insert(calls_.pos.end(), {ion.x, ion.y, ion.z});
            calls_.charge.push_back(ion.q);
        }
        const CalcForceCall call = calls_.call("NaO_", 2, box);
        CalcForceResult result;
        calcforce(engine_, call, result);
        EXPECT_EQ(result.status, 0);
        force_ = calls_.force;
        pe_ = calls_.pe;
        return result.totalenergy;
    }

    Engine engine_;
    test_support::ScratchDir dir_{true};
    test_support::WholeCall calls_;
    std::vector<double> force_, pe_;
};

// A cubic crystal of `cells` conventional cells of side a per axis, from the fractional
// positions and charges of the basis, shifted off the box faces.
std::vector<Ion> crystal(const std::vector<Ion>& basis, double a, int cells) {
    std::vector<Ion> ions;
    for (int i = 0; i < cells; ++i)
        for (int j = 0; j < cells; ++j)
            for (int k = 0; k < cells; ++k)
                for (const Ion& b : basis)
                    ions.push_back(
                        {(i + b.x) * a + 0.3, (j + b.y) * a + 0.2, (k + b.z) * a + 0.1, b.q});
    return ions;
}

// The face-centred basis with a second ion of opposite charge at `shift` from each site.
std::vector<Ion> fcc_basis(double shift_x, double shift_yz) {
    std::vector<Ion> basis;
    for (const auto& s :
         {std::array<double, 3>{0, 0, 0}, {0, 0.5, 0.5}, {0.5, 0, 0.5}, {0.5, 0.5, 0}}) {
        basis.push_back({s[0], s[1], s[2], 1.0});
        basis.push_back({s[0] + shift_x, s[1] + shift_yz, s[2] + shift_yz, -1.0});
    }
    return basis;
}

TEST_F(ChargedCrystal, MadelungConstantsOfRockSaltCaesiumChlorideAndZincBlende) {
    struct Case {
        const char* name;
        std::vector<Ion> basis;
        double a;
        int cells;
        double d;  // nearest-neighbour distance
        double madelung;
    };
    const Case cases[] = {
        {"rock salt", fcc_basis(0.5, 0.0), 5.64, 2, 2.82, 1.747565},
        {"caesium chloride",
         {{0, 0, 0, 1.0}, {0.5, 0.5, 0.5, -1.0}},
         4.12,
         3,
         4.12 * std::sqrt(3.0) / 2.0,
         1.762675},
        {"zinc blende", fcc_basis(0.25, 0.25), 5.41, 2, 5.41 * std::sqrt(3.0) / 4.0, 1.638055},
    };
    for (const Case& c : cases) {
        const std::vector<Ion> ions = crystal(c.basis, c.a, c.cells);
        const double per_pair = run(ions, c.a * c.cells) / (0.5 * static_cast<double>(ions.size()));
        const double expected = -c.madelung * kCoulomb / c.d;
        EXPECT_NEAR(per_pair, expected, 0.002 * std::fabs(expected)) << c.name;
        // Every ion of the ideal lattice sits at a centre of symmetry.
        for (double f : force_)
            EXPECT_LT(std::fabs(f), 1e-6) << c.name;
        // Equivalent ions carry equal shares.
        for (double e : pe_)
            EXPECT_NEAR(e, expected / 2.0, 0.002 * std::fabs(expected)) << c.name;
    }
}

// A rock-salt crystal of 2 x 2 x 2 cells, written as the ions of the box of side 2a centred on
// the point c = (a/4, a/4, a/4), about which the crystal has the symmetry of a tetrahedron:
// that representation of the cell has neither a dipole nor a quadrupole moment, so the image
// sum over a cube converges quickly. The eight ions nearest to c (a cube of alternating
// charges) are pushed 0.15 A outwards from c, which keeps the symmetry and gives forces.
std::vector<Ion> symmetric_distorted_rock_salt(double a) {
    const double c = a / 4.0;
    std::vector<Ion> ions;
    for (const Ion& ion : crystal(fcc_basis(0.5, 0.0), a, 4)) {
        // crystal() shifts by (0.3, 0.2, 0.1); take it back and centre the 4-cell block.
        const double p[3] = {ion.x - 0.3 - a, ion.y - 0.2 - a, ion.z - 0.1 - a};
        bool inside = true;
        for (double v : p)
            inside = inside && v >= c - a && v < c + a;
        if (inside)
            ions.push_back({p[0], p[1], p[2], ion.q});
    }
    const double nearest = a * std::sqrt(3.0) / 4.0;
    for (Ion& ion : ions) {
        const double d = std::hypot(ion.x - c, ion.y - c, ion.z - c);
        if (std::fabs(d - nearest) < 1e-9) {
            const double stretch = (d + 0.15) / d;
            ion.x = c + (ion.x - c) * stretch;
            ion.y = c + (ion.y - c) * stretch;
            ion.z = c + (ion.z - c) * stretch;
        }
    }
    return ions;
}

// The same ions moved by (dx, dy, dz) and folded into the box.
std::vector<Ion> folded(std::vector<Ion> ions, double box, double dx, double dy, double dz) {
    auto fold = [box](double c) { return c - box * std::floor(c / box); };
    for (Ion& ion : ions) {
        ion.x = fold(ion.x + dx);
        ion.y = fold(ion.y + dy);
        ion.z = fold(ion.z + dz);
    }
    return ions;
}

TEST_F(ChargedCrystal, AgreesWithTheImageSumAndDoesNotDependOnWhereTheCrystalSits) {
    const double box = 11.28;
    const std::vector<Ion> ions = symmetric_distorted_rock_salt(box / 2.0);
    const double ewald = run(folded(ions, box, 0.0, 0.0, 0.0), box);
    const std::vector<double> ewald_force = force_;

    Engine reference;
    reference.atoms.lx = reference.atoms.ly = reference.atoms.lz = box;
    std::vector<double> x, y, z, q, fx(64), fy(64), fz(64), pe(64);
    for (const Ion& ion : ions)
        x.push_back(ion.x), y.push_back(ion.y), z.push_back(ion.z), q.push_back(ion.q);
    ASSERT_EQ(ions.size(), 64u);
    ::testing::internal::CaptureStdout();
    periodic_direct(reference, 64, x.data(), y.data(), z.data(), q.data(), fx.data(), fy.data(),
                    fz.data(), pe.data());
    EXPECT_NE(::testing::internal::GetCapturedStdout().find("Entering direct"), std::string::npos);
    double direct = 0.0;
    for (double e : pe)
        direct += 0.5 * e;
    EXPECT_NEAR(ewald, direct, 1e-3 * std::fabs(direct));
    double largest = 0.0, difference = 0.0;
    for (std::size_t i = 0; i < ions.size(); ++i) {
        const double f[3] = {fx[i], fy[i], fz[i]};
        for (std::size_t c = 0; c < 3; ++c) {
            largest = std::max(largest, std::fabs(f[c]));
            difference = std::max(difference, std::fabs(f[c] - ewald_force[3 * i + c]));
        }
    }
    EXPECT_GT(largest, 0.1);  // the distortion does give forces
    EXPECT_LT(difference, 5e-3);

    // The same crystal moved by a fraction of the box: the same energy and forces, up to the
    // wave vectors being multiples of 2 pi in single precision (relative error 1.7e-7), which
    // makes the phases of folded positions differ in the seventh digit.
    EXPECT_NEAR(run(folded(ions, box, 4.37, 7.91, 1.13), box), ewald, 1e-6 * std::fabs(ewald));
    for (std::size_t k = 0; k < force_.size(); ++k)
        EXPECT_NEAR(force_[k], ewald_force[k], 1e-5 * largest);
}

// Coulomb energy of a periodic system from the definition of the Ewald sum, with the full
// sphere of wave vectors (no half-space), for two charges closer than the real-space cut-off
// and a box so large that no other image is within it.
double pair_energy_by_definition(const std::array<Ion, 2>& ions, double box) {
    const double s = std::sqrt(-std::log(0.0010000000474974513));
    const double alpha = s / 9.0;
    const double kc = 2.0 * alpha * s;
    const double pi = 3.1415927410125732;
    const double g = 2.0 * pi / box;
    const int steps = static_cast<int>(std::ceil(kc / g));
    double reciprocal = 0.0;
    for (int i = -steps; i <= steps; ++i)
        for (int j = -steps; j <= steps; ++j)
            for (int k = -steps; k <= steps; ++k) {
                const double k2 = g * g * (i * i + j * j + k * k);
                if (k2 == 0.0 || !(k2 < kc * kc))
                    continue;
                std::complex<double> rho = 0.0;
                for (const Ion& ion : ions)
                    rho += ion.q * std::polar(1.0, g * (i * ion.x + j * ion.y + k * ion.z));
                reciprocal += 2.0 * pi / (box * box * box) * std::exp(-k2 / (4 * alpha * alpha)) /
                              k2 * std::norm(rho);
            }
    const double r =
        std::hypot(ions[1].x - ions[0].x, ions[1].y - ions[0].y, ions[1].z - ions[0].z);
    const double real = ions[0].q * ions[1].q * std::erfc(alpha * r) / r;
    const double self = alpha / std::sqrt(pi) * (ions[0].q * ions[0].q + ions[1].q * ions[1].q);
    return kCoulomb * (real + reciprocal - self);
}

TEST_F(ChargedCrystal, OppositePairIsRealPlusReciprocalMinusSelf) {
    const std::array<Ion, 2> ions{{{3.0, 4.0, 5.0, 1.0}, {5.5, 6.0, 4.0, -1.0}}};
    const double box = 20.0;
    const double energy = run({ions[0], ions[1]}, box);
    EXPECT_NEAR(energy, pair_energy_by_definition(ions, box), 1e-10);
    // Equal and opposite forces, and an attraction along the line joining the two charges.
    for (std::size_t c = 0; c < 3; ++c)
        EXPECT_NEAR(force_[c], -force_[3 + c], 1e-10);
    EXPECT_GT(force_[0], 0.0);
    EXPECT_GT(force_[5], 0.0);
}

TEST(EwaldParameters, WaveVectorStepsFollowTheBox) {
    const auto steps = [](double x, double y, double z) {
        const WaveVectorRange r = ewald_wave_vector_range(x, y, z);
        return std::array<int32_t, 3>{r.nx, r.ny, r.nz};
    };
    EXPECT_EQ(steps(20.0, 20.0, 20.0), (std::array<int32_t, 3>{5, 5, 5}));
    EXPECT_EQ(steps(10.0, 40.0, 3.0), (std::array<int32_t, 3>{3, 10, 1}));
}

}  // namespace
}  // namespace pelix
