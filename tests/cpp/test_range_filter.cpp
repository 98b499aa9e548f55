// The neighbour-list range filter and the bond normalisation, whose vector forms must keep the
// same entries and give the same bits as a plain loop on every processor.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "atoms/force_field_state.hpp"
#include "interaction/range_filter.hpp"
#include "potentials/bond_geometry.hpp"

namespace pelix {
namespace {

using Kept = std::vector<std::pair<int32_t, int32_t>>;

struct Candidates {
    std::vector<int32_t> atom, specie;
    std::vector<double> x, y, z;
    void add(int32_t a, int32_t s, double px, double py, double pz) {
        atom.push_back(a), specie.push_back(s), x.push_back(px), y.push_back(py), z.push_back(pz);
    }
    PackedView view() const { return {atom.data(), x.data(), y.data(), z.data(), specie.data()}; }
};

// The (atom, image) entries every form keeps over the chosen runs; all forms must agree.
Kept kept_by_every_form(const Candidates& c, const std::vector<CandidateRun>& runs,
                        const std::vector<uint8_t>& chosen, const FilterCentre& centre) {
    std::vector<Kept> forms;
    for (const FilterPath path : available_filter_paths()) {
        std::vector<int32_t> nebour(c.atom.size() + 1, -7), pbctyp(c.atom.size() + 1, -7);
        const int64_t written = append_within_range_on(path, c.view(), runs.data(), chosen.data(),
                                                       static_cast<int>(chosen.size()), centre,
                                                       nebour.data(), pbctyp.data(), 0);
        forms.emplace_back();
        for (int64_t e = 0; e < written; ++e)
            forms.back().emplace_back(nebour[e], pbctyp[e]);
        EXPECT_EQ(forms.back(), forms.front()) << "form " << static_cast<int>(path);
    }
    return forms.front();
}

// Against a plain loop: (atom, image) of every candidate strictly within the centre's radius
// to its species, the centre itself excepted, in run order. Three species, whose radii both
// vector forms hold in a register; five, which the four-wide form gathers from memory; nine,
// which both gather; runs of every length up to 18, so that groups of four and of eight end at
// every remainder; candidates exactly at the radius and at a NaN; the centre atom at one packed
// entry, whose run is seen again through an image 0.1 away, where it is within its own range.
TEST(RangeFilter, KeepsExactlyTheEntriesOfAPlainLoopInOrder) {
    std::mt19937_64 rng(11);
    std::uniform_real_distribution<double> coordinate(-4.0, 4.0);
    const std::vector<double> mixed{9.0, 4.0, 12.25, 1.0, 16.0, 2.25, 6.25, 10.24, 0.25};
    const std::vector<double> common(9, 6.25);
    for (int trial = 0; trial < 300; ++trial) {
        const int32_t species = trial % 6 < 2 ? 3 : (trial % 6 < 4 ? 5 : 9);
        Candidates c;
        std::vector<CandidateRun> runs;
        for (int32_t length = trial % 19, r = 0; r < 4; ++r, length = (length + 5) % 19) {
            const auto first = static_cast<int32_t>(c.atom.size());
            for (int32_t k = 0; k < length; ++k)
                c.add(static_cast<int32_t>(rng() % 40), static_cast<int32_t>(rng() % species),
                      coordinate(rng), coordinate(rng), coordinate(rng));
            runs.push_back({first, first + length, r - 1, 0.5 * r, -0.25 * r, 0.0});
        }
        for (const double x : {0.5 + 2.5, std::nan("")})
            c.add(39, 0, x, 0.0, 0.0);
        runs.push_back({runs.back().end, runs.back().end + 2, 4, 0.0, 0.0, 0.0});
        const auto own = static_cast<int32_t>(rng() % c.atom.size());
        const auto at = static_cast<std::size_t>(own);
        c.atom[at] = 40;
        for (const CandidateRun& run : std::vector<CandidateRun>(runs))
            if (run.first <= own && own < run.end)
                runs.push_back({run.first, run.end, 7, c.x[at] - 0.6, c.y[at], c.z[at]});

        const bool uniform = trial % 2 == 0;
        const std::vector<double>& radii = uniform ? common : mixed;
        const FilterCentre centre{40,
                                  own,
                                  0.5,
                                  0.0,
                                  0.0,
                                  radii.data(),
                                  uniform ? radii[0] : std::numeric_limits<double>::quiet_NaN(),
                                  species};
        // Every run, or (odd trials) the runs after the first, last one first.
        std::vector<uint8_t> chosen;
        for (std::size_t r = trial % 2; r < runs.size(); ++r)
            chosen.push_back(static_cast<uint8_t>(r));
        if (trial % 2 == 1)
            std::rotate(chosen.begin(), chosen.end() - 1, chosen.end());
        Kept expected;
        for (const uint8_t index : chosen) {
            const CandidateRun& run = runs[index];
            for (int32_t m = run.first; m < run.end; ++m) {
                const double dx = c.x[m] - run.ox - centre.x, dy = c.y[m] - run.oy - centre.y,
                             dz = c.z[m] - run.oz - centre.z;
                if (dx * dx + dy * dy + dz * dz < radii[c.specie[m]] && c.atom[m] != 40)
                    expected.emplace_back(c.atom[m], run.image);
            }
        }
        ASSERT_EQ(kept_by_every_form(c, runs, chosen, centre), expected) << "trial " << trial;
    }
}

// Separations whose square, rounded after every multiplication and addition, lies one way of
// the radius while the forms with a fused multiply-add lie the other way: every form of the
// filter must round step by step (12 candidates, a group of eight and four after it).
TEST(RangeFilter, SquaresAreRoundedStepByStep) {
    std::mt19937_64 rng(5);
    std::uniform_real_distribution<double> coordinate(-3.0, 3.0);
    for (const bool fused_is_below : {true, false}) {
        double x = 0, y = 0, z = 0, r2 = 0;
        for (bool found = false; !found;) {
            x = coordinate(rng), y = coordinate(rng), z = coordinate(rng);
            r2 = x * x + y * y + z * z;
            const double xx = x * x;
            found = true;
            for (const double f : {std::fma(z, z, std::fma(y, y, xx)), std::fma(z, z, xx + y * y),
                                   std::fma(y, y, xx) + z * z})
                found = found && (fused_is_below ? f < r2 : f > r2);
        }
        // Stepwise, the candidates are beyond a radius at their square, and within one just
        // above it; the fused forms would say the opposite.
        const double radius2 = fused_is_below ? r2 : std::nextafter(r2, 1e9);
        Candidates c;
        for (int32_t k = 0; k < 12; ++k)
            c.add(k, 0, x, y, z);
        const FilterCentre centre{-1, -1, 0.0, 0.0, 0.0, &radius2, radius2, 1};
        EXPECT_EQ(kept_by_every_form(c, {{0, 12, 0, 0.0, 0.0, 0.0}}, {0}, centre).size(),
                  fused_is_below ? 0u : 12u);
    }
}

// Cells chosen by the gap from a point to their boxes, against the gaps worked out one by one:
// every count of cells up to 28, points inside, outside and on the faces of boxes, and a cell
// exactly at its reach (not chosen).
TEST(RangeFilter, ChoosesTheCellsWhoseBoxComesWithinReach) {
    std::mt19937_64 rng(3);
    std::uniform_real_distribution<double> coordinate(-6.0, 6.0), size(0.0, 3.0), reach(0.0, 30.0);
    for (int trial = 0; trial < 300; ++trial) {
        const int count = trial % 29;
        std::vector<double> box[6], reach2(28, 0.0);
        for (auto& side : box)
            side.assign(28, 0.0);
        for (std::size_t c = 0; c < static_cast<std::size_t>(count); ++c) {
            for (int axis = 0; axis < 3; ++axis) {
                box[2 * axis][c] = coordinate(rng);
                box[2 * axis + 1][c] = box[2 * axis][c] + size(rng);
            }
            reach2[c] = reach(rng);
        }
        double point[3] = {coordinate(rng), coordinate(rng), coordinate(rng)};
        if (count > 1 && trial % 3 == 0) {
            // On a face of the first box, and exactly 2 from the second along x.
            point[0] = box[0][0] = 1.0, point[1] = 0.5, point[2] = -0.25;
            box[0][1] = 3.0, box[1][1] = 3.5, reach2[1] = 4.0;
            for (int axis = 1; axis < 3; ++axis)
                box[2 * axis][1] = point[axis] - 1.0, box[2 * axis + 1][1] = point[axis] + 1.0;
        }
        std::vector<uint8_t> expected;
        for (std::size_t c = 0; c < static_cast<std::size_t>(count); ++c) {
            double g2 = 0.0;
            for (int axis = 0; axis < 3; ++axis) {
                const double lo = box[2 * axis][c], hi = box[2 * axis + 1][c], p = point[axis];
                const double g = p < lo ? lo - p : (p > hi ? p - hi : 0.0);
                g2 += g * g;
            }
            if (g2 < reach2[c])
                expected.push_back(static_cast<uint8_t>(c));
        }
        uint8_t chosen[28];
        const int got = choose_reached_cells({box[0].data(), box[1].data(), box[2].data(),
                                              box[3].data(), box[4].data(), box[5].data(), count},
                                             reach2.data(), point[0], point[1], point[2], chosen);
        EXPECT_EQ(std::vector<uint8_t>(chosen, chosen + got), expected) << "trial " << trial;
    }
}

// The bonds of one atom written from its list entries, with the bits of a plain loop: species 0
// and 1 pair with types 1 and 2 and cut-offs 3 and 4 A; species 2 belongs to another potential;
// entries through three images; every count of entries up to 40, so that the bonds normalised
// four at a time while they are written end at every remainder. A pair not yet known gives -1.
TEST(BondGeometry, WrittenBondsAreThoseOfAPlainLoop) {
    std::mt19937_64 rng(9);
    std::uniform_real_distribution<double> coordinate(-4.0, 4.0);
    const std::vector<int32_t> types{1, 2, kPairTypeNotBonded, kPairTypeUnknown};
    const std::vector<double> cutoff2{9.0, 16.0, 0.0, 0.0};
    std::vector<double> offset(4 * 27, 0.0);
    offset[4 * 14] = 0.5;        // image 1
    offset[4 * 12 + 1] = -0.75;  // image -1
    std::vector<double> rx, ry, rz;
    std::vector<int32_t> specie;
    for (int32_t j = 0; j < 60; ++j) {
        rx.push_back(coordinate(rng)), ry.push_back(coordinate(rng)), rz.push_back(coordinate(rng));
        specie.push_back(static_cast<int32_t>(rng() % 3));
    }
    const double at[3] = {0.25, -0.5, 0.125};
    for (int32_t count = 0; count <= 41; ++count) {
        std::vector<int32_t> neighbour, image;
        for (int32_t k = 0; k < count; ++k) {
            neighbour.push_back(static_cast<int32_t>(rng() % 60));
            image.push_back(static_cast<int32_t>(rng() % 3) - 1);
        }
        if (count == 41)  // an entry of species 3, whose pair the family was not yet asked about
            specie[static_cast<std::size_t>(neighbour[20])] = 3;
        BondList bonds;
        bonds.make_room(count);
        const BondBuild build =
            build_into(bonds, specie.data(), rx.data(), ry.data(), rz.data(),
                       offset.data() + 4 * 13, types.data(), cutoff2.data(), at[0], at[1], at[2]);
        const int32_t written =
            write_normalised_known_bonds(build, neighbour.data(), image.data(), count);
        if (count == 41) {
            EXPECT_EQ(written, -1);
            break;
        }
        int32_t expected = 0;
        for (int32_t k = 0; k < count; ++k) {
            const int32_t j = neighbour[k], s = specie[j];
            const double* shift = offset.data() + 4 * (13 + image[k]);
            const double dx = rx[j] - shift[0] - at[0], dy = ry[j] - shift[1] - at[1],
                         dz = rz[j] - shift[2] - at[2];
            const double r2 = dx * dx + dy * dy + dz * dz;
            if (s == 2 || !(r2 < cutoff2[s]))
                continue;
            const double r = std::sqrt(r2);
            ASSERT_LT(expected, written) << count << " entries";
            const int32_t e = expected++;
            EXPECT_EQ(
                (std::vector<double>{double(bonds.neb[e]), double(bonds.bndtyp[e]), bonds.bndlen[e],
                                     bonds.bndxnm[e], bonds.bndynm[e], bonds.bndznm[e]}),
                (std::vector<double>{double(j), double(types[s]), r, dx / r, dy / r, dz / r}))
                << count << " entries, bond " << e;
        }
        EXPECT_EQ(written, expected) << count << " entries";
    }
}

}  // namespace
}  // namespace pelix
