#pragma once
// The atom store (component `atoms`): the staged atom list, its counters, the box, the
// species tables and the per-atom potential energy.
//
// Index base: inside the C++ core all arrays are 0-based. Atom k of the staged list (0-based)
// is the atom at staging position k+1; species s (0-based) is species number s+1. Values
// that are identities rather than indices keep their 1-based meaning: the record's id is the
// 1-based staging position, potential numbers are 1..num_pots.
#include <cstdint>
#include <string>
#include <vector>

namespace pelix {

struct AtomRecord {
    int32_t id = 0;      // 1-based staging position in the force call
    int32_t specie = 0;  // 0-based species index into symbol, anum, mass, atmrad
    double x = 0.0, y = 0.0, z = 0.0;
    int32_t latyp = 0;  // lattice type: 0 fixed, non-zero free
    double charge = 0.0;
    double vx = 0.0, vy = 0.0, vz = 0.0;
};

struct AtomStore {
    int32_t lt = 0;
    int32_t mylt = 0;
    int32_t first_lattice_atom = 0, last_lattice_atom = 0;
    int32_t first_indenter_atom = 0, last_indenter_atom = 0;
    int32_t first_projectile_atom = 0, last_projectile_atom = 0;
    bool search_for_pka = false;  // collision search flag of the stand-alone drivers
    int32_t my_atom_array_limit = 0;
    int32_t reallocations = 0;
    double lx = 0.0, ly = 0.0, lz = 0.0;

    // The staged atom list; `list_allocated` tells whether it exists at all.
    std::vector<AtomRecord> list;
    bool list_allocated = false;

    // Species tables, numel entries each.
    int32_t numel = 0;
    std::vector<std::string> symbol;  // two characters each
    std::vector<int32_t> anum;
    std::vector<double> mass;  // internal unit
    std::vector<double> atmrad;

    // Potential energy per staged atom after an evaluation.
    std::vector<double> pe;
};

// Gives the staged list max(n, 0) records, keeping the first min(n, old length) records when
// a list existed (and counting that in `reallocations`).
void reallocate_atom_array(AtomStore& store, int32_t n);
// Empties the staged list, keeping its memory for the next list, and frees the species tables.
void free_atom_list_and_species(AtomStore& store);

// 0-based index of the last of the symbols equal to `sym`, -1 when none matches.
int32_t specie_for_atom(const std::string& sym, const std::vector<std::string>& symbols);
// Registers a species symbol (used by the atom-file readers).
void checking_for_numel(const std::string& sym, int32_t& numel, std::vector<std::string>& symbols);

double ke(const AtomStore& store, const AtomRecord& record);
double tke(const AtomStore& store);
double tpe(const AtomStore& store);
double tte(const AtomStore& store);

}  // namespace pelix
