#pragma once
// Pieces shared by the tests of the potential families: the first line of a stop, atoms on a
// line with hand-built neighbour lists, and table files sampled from a given function.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <iomanip>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"
#include "scratch_dir.hpp"

namespace pelix::test_support {

// The first line of the stop that `action` raises ("no stop" when it returns); an nrerror stop
// is checked to close with its own line.
template <class Action>
std::string nrerror_line(Action&& action) {
    const Stop stop = stop_of(action);
    if (stop.status == kExitFatal) {
        EXPECT_EQ(stop.lines,
                  (std::vector<std::string>{stop.first(), "program terminated by nerror"}));
    }
    return stop.first();
}

// Neighbour lists given atom by atom as (neighbour, image code) pairs, every listed atom
// counted as local, and zeroed forces and per-atom energies for as many atoms.
inline void set_neighbour_lists(
    Engine& engine, const std::vector<std::vector<std::pair<int32_t, int32_t>>>& lists) {
    ForceFieldState& ff = engine.ff;
    for (const auto& list : lists) {
        ff.nebpnt.push_back(static_cast<int32_t>(ff.nebour.size()));
        for (const auto& [j, image] : list) {
            ff.nebour.push_back(j);
            ff.pbctyp.push_back(image);
        }
    }
    ff.nebpnt.push_back(static_cast<int32_t>(ff.nebour.size()));
    const std::size_t n = lists.size();
    engine.sd.myltpnebs = static_cast<int32_t>(n);
    ff.fx = ff.fy = ff.fz = engine.atoms.pe = std::vector<double>(n, 0.0);
}

// Atoms of atomic numbers z (one species each, identity numbers 1, 2, ...) at x on the x axis,
// every pair given to potential 1. Each atom lists every other once, except that atom 0 lists
// atom 1 `first_lists` times (as if through as many images), to fill a bond list.
inline Engine line_engine(const std::vector<int32_t>& z, const std::vector<double>& x,
                          int32_t first_lists = 1) {
    Engine engine;
    engine.atoms.anum = z;
    ForceFieldState& ff = engine.ff;
    const auto n = static_cast<int32_t>(z.size());
    std::vector<std::vector<std::pair<int32_t, int32_t>>> lists(z.size());
    for (int32_t i = 0; i < n; ++i) {
        ff.specie.push_back(i);
        ff.idnum.push_back(i + 1);
        for (int32_t j = 0; j < n; ++j)
            if (j != i)
                lists[i].insert(lists[i].end(), i == 0 && j == 1 ? first_lists : 1, {j, 0});
    }
    ff.rx = x;
    ff.ry.assign(z.size(), 0.0);
    ff.rz.assign(z.size(), 0.0);
    ff.potnum.assign(z.size(), 1);
    set_neighbour_lists(engine, lists);
    return engine;
}

// n records "x f(x)" at x = x0 .. x1 evenly spaced (the last exactly x1), count first;
// "x f(x) -f'(x)" when the slope is given.
inline std::string sampled_table(int n, double x0, double x1,
                                 const std::function<double(double)>& f,
                                 const std::function<double(double)>& slope = nullptr) {
    std::ostringstream out;
    out << std::setprecision(17) << n << "\n";
    for (int k = 0; k < n; ++k) {
        const double x = k == n - 1 ? x1 : x0 + k * (x1 - x0) / (n - 1);
        out << x << " " << f(x);
        if (slope)
            out << " " << -slope(x);
        out << "\n";
    }
    return out.str();
}

}  // namespace pelix::test_support
