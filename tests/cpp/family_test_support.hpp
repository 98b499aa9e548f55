#pragma once
// Pieces shared by the tests of the potential families: the first line of a fatal stop, and a
// two-atom engine whose neighbour list is as long as a test needs to fill the bond list.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"

namespace pelix::test_support {

// The first line of the stop that `action` raises, checked to be an nrerror stop (exit status
// 1 and its closing line); "no stop" when the action returns.
template <class Action>
std::string nrerror_line(Action&& action) {
    try {
        action();
    } catch (const FatalError& error) {
        EXPECT_EQ(error.exit_status(), kExitFatal);
        EXPECT_EQ(error.lines().at(1), "program terminated by nerror");
        return error.lines().at(0);
    }
    return "no stop";
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
    ff.fx.assign(n, 0.0);
    ff.fy.assign(n, 0.0);
    ff.fz.assign(n, 0.0);
    engine.atoms.pe.assign(n, 0.0);
}

// Atoms 0 and 1 of atomic numbers za and zb, 2 A apart on x, both species pairs given to
// potential 1. Atom 0 lists atom 1 `listed_from_first` times (as if through as many images),
// atom 1 lists atom 0 once, so that atom 0 alone fills the bond list as far as asked.
inline Engine two_atom_bond_engine(int32_t za, int32_t zb, int32_t listed_from_first) {
    Engine engine;
    engine.atoms.anum = {za, zb};
    ForceFieldState& ff = engine.ff;
    ff.rx = {0.0, 2.0};
    ff.ry = {0.0, 0.0};
    ff.rz = {0.0, 0.0};
    ff.specie = {0, 1};
    ff.potnum.assign(2, 1);
    ff.nebour.assign(static_cast<std::size_t>(listed_from_first), 1);
    ff.nebour.push_back(0);
    ff.pbctyp.assign(ff.nebour.size(), 0);
    ff.nebpnt = {0, listed_from_first, listed_from_first + 1};
    engine.sd.myltpnebs = 2;
    ff.fx.assign(2, 0.0);
    ff.fy.assign(2, 0.0);
    ff.fz.assign(2, 0.0);
    engine.atoms.pe.assign(2, 0.0);
    return engine;
}

}  // namespace pelix::test_support
