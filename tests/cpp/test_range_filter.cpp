// The neighbour-list range filter, whose vector forms must keep the same entries as a plain
// loop on every processor. Which cells it is given is checked through the whole list build.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "atoms/force_field_state.hpp"
#include "interaction/range_filter.hpp"

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
        c.atom[own] = 40;
        for (const CandidateRun& run : std::vector<CandidateRun>(runs))
            if (run.first <= own && own < run.end)
                runs.push_back({run.first, run.end, 7, c.x[own] - 0.6, c.y[own], c.z[own]});

        const bool uniform = trial % 2 == 0;
        const std::vector<double>& radii = uniform ? common : mixed;
        const double shared = uniform ? radii[0] : std::numeric_limits<double>::quiet_NaN();
        const FilterCentre centre{40, own, 0.5, 0.0, 0.0, radii.data(), shared, species};
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

}  // namespace
}  // namespace pelix
