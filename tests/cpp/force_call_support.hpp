#pragma once
// Pieces shared by the tests that make whole force calls from C++: the text of a run
// configuration, and the argument block of one call over caller-owned arrays.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "interface/driver.hpp"

namespace pelix::test_support {

// The 34 records of "pelix.IN": a collision run with the given periodic flag on all three
// axes and the given multipole flag, everything else at neutral values.
inline std::string run_configuration_text(int pbc, int multipole_flag = 1) {
    const std::string flag = std::to_string(pbc);
    return "BEGIN\nEQUIL\nCOLLI\nTEST01\n " + flag + ' ' + flag + ' ' + flag +
           "\n 1.0\n 1.0\n 1.0\n 0\n 0.0\n 0.0\n 0.0\n NO_THERMOSTAT\n 0.0\n 0.0\n 1.0\n 1.0\n"
           " F\n F\n F\n 1.0\n " +
           std::to_string(multipole_flag) +
           "\n F\n F\n F\n F\n F\n 2.0\n F\n 0.0\n 0.0\n F\n F\n F\n";
}

// The arrays of one force call over n atoms and the call block pointing at them. Positions,
// species and charges are the caller's to fill before `call()`; results land in force, ke, pe.
struct WholeCall {
    std::vector<int32_t> specie;
    std::vector<double> pos, charge, force, ke, pe;
    std::vector<int32_t> calcindexes, mainindexes;

    CalcForceCall call(std::string_view speciestring, int32_t nspecies, double box) {
        const auto n = static_cast<int32_t>(specie.size());
        force.resize(pos.size()), ke.resize(specie.size()), pe.resize(specie.size());
        CalcForceCall c;
        c.image = -1, c.speciestring = speciestring, c.nspecies = nspecies;
        c.specie = specie.data(), c.pos = pos.data(), c.charge = charge.data();
        c.force = force.data(), c.kearray = ke.data(), c.pearray = pe.data();
        c.calcindexes = calcindexes.data(), c.mainindexes = mainindexes.data();
        c.xdim = c.ydim = c.zdim = box;
        c.natoms = c.edim = c.len_specie = c.len_charge = c.len_kearray = c.len_pearray = n;
        c.ncalc = c.len_calcindexes = static_cast<int32_t>(calcindexes.size());
        c.nmain = c.len_mainindexes = static_cast<int32_t>(mainindexes.size());
        c.posdim = c.len_pos = c.len_force = 3 * n;
        return c;
    }
};

}  // namespace pelix::test_support
