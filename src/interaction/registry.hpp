#pragma once
// The potential registry (component `interatomic_interaction`): which potential acts between
// each pair of species, from "potfor.IN", and how far each interaction reaches.
#include <cstdint>
#include <string>
#include <vector>

#include "atoms/force_field_state.hpp"

namespace pelix {

struct Engine;

inline constexpr int32_t MAX_NUM_POTS = 50;
inline constexpr std::size_t kKeywordWidth = 12;
inline constexpr std::size_t kSymbolWidth = 2;

struct PotentialRegistry {
    // File contents, read once per process.
    bool read_potforin = false;
    int32_t nlines_potforin = 0;
    std::vector<std::string> elem1_array, elem2_array;  // 2 characters each
    std::vector<std::string> potflg_array;              // 12 characters each

    // Rebuilt by every setup_interaction_parameters, released by potfor_finalise.
    int32_t pot_numel = 0;
    int32_t pot_numprocs = 0;
    std::vector<std::string> pot_symbol;
    SpeciesMatrix<std::string> potype;  // 12-character keywords, symmetric
    std::vector<std::string> potlst;    // potlst[k-1] is potential number k
    int32_t num_pots = 0;
    bool allocated = false;
};

// Reads "potfor.IN" on the first call of the process (from `path`), builds pot_symbol,
// potype, potlst, num_pots and ff.potnum, runs the electrostatics set-up and then the set-up
// of every potential in use, in potential-number order.
void setup_interaction_parameters(Engine& engine, int32_t numel,
                                  const std::vector<std::string>& symbols, int32_t numprocs,
                                  const std::string& path = "potfor.IN");

// Square of the cut-off radius of the potential between species i and j (0-based).
double cutoff_distance_squared(Engine& engine, const std::vector<int32_t>& anum, int32_t i,
                               int32_t j);
// Cut-off radius (not squared) plus skin, for the spatial-decomposition margin.
double sd_cutoff_distance(Engine& engine, const std::vector<int32_t>& anum, int32_t i, int32_t j,
                          double skin);

// Releases the registry arrays, the cell arrays, the cut-off tables and the atom store's pe.
void potfor_finalise(Engine& engine);

}  // namespace pelix
