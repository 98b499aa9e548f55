#include "interaction/evaluation.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "common/fatal_error.hpp"
#include "common/fixed_string.hpp"
#include "common/list_output.hpp"
#include "common/memory.hpp"
#include "electrostatics/electrostatics.hpp"
#include "engine/engine.hpp"
#include "interaction/cells.hpp"
#include "interaction/neighbour_list.hpp"
#include "potentials/catalogue.hpp"

namespace pelix {

namespace {

std::size_t as_size(int32_t n) {
    return n > 0 ? static_cast<std::size_t>(n) : 0;
}

// Fresh, empty list arrays for `n` atoms; the list itself grows as it is filled, up to
// 2000 entries per atom.
void allocate_list_arrays(Engine& engine, int32_t n) {
    engine.neighbours.nlstmx = kNeighboursPerAtomLimit * n;
    engine.cells.celatm.assign(as_size(n), -1);
    engine.ff.nebpnt.assign(as_size(n) + 1, 0);
    retire_to_spare(engine.ff.nebour, engine.ff.spare_nebour);
    retire_to_spare(engine.ff.pbctyp, engine.ff.spare_pbctyp);
}

void release_list_arrays(Engine& engine) {
    release_memory(engine.cells.celatm);
    release_memory(engine.ff.nebpnt);
    retire_to_spare(engine.ff.nebour, engine.ff.spare_nebour);
    retire_to_spare(engine.ff.pbctyp, engine.ff.spare_pbctyp);
}

std::string position_text(double x, double y, double z) {
    char text[96];
    std::snprintf(text, sizeof text, "%.10g %.10g %.10g", x, y, z);
    return text;
}

// Two atoms at one position have no finite pair energy and no direction between them, so every
// family answers with infinities or NaN. Such a pair lies within any non-zero cut-off, so it is
// in the neighbour list whenever a potential acts between the two species. The list is searched
// only when the results are not finite, so a normal call pays one pass over the results; the
// call is then refused before anything reaches the caller. Atoms are named by their 0-based
// staging position.
void refuse_coincident_atoms(const Engine& engine, int32_t n) {
    const ForceFieldState& ff = engine.ff;
    const std::vector<double>& pe = engine.atoms.pe;
    double total = 0.0;
    for (int32_t i = 0; i < n; ++i)
        total += ff.fx[i] + ff.fy[i] + ff.fz[i] + pe[i];
    if (std::isfinite(total))
        return;
    for (int32_t i = 0; i < engine.atoms.mylt; ++i) {
        for (int32_t k = ff.nebpnt[i]; k < ff.nebpnt[i + 1]; ++k) {
            const int32_t j = ff.nebour[k];
            const int32_t image = ff.pbctyp[k];
            const double dx = ff.rx[j] - ff.xoffset(image) - ff.rx[i];
            const double dy = ff.ry[j] - ff.yoffset(image) - ff.ry[i];
            const double dz = ff.rz[j] - ff.zoffset(image) - ff.rz[i];
            if (dx * dx + dy * dy + dz * dz == 0.0) {
                throw ArgumentError("calcforce: atoms " + std::to_string(std::min(i, j)) + " and " +
                                    std::to_string(std::max(i, j)) +
                                    " (staging positions) are at the same position " +
                                    position_text(ff.rx[i], ff.ry[i], ff.rz[i]));
            }
        }
    }
}

// Clears the result arrays, then lets the electrostatics and every potential add into them.
void evaluate_forces(Engine& engine, int32_t n) {
    engine.atoms.pe.assign(as_size(n), 0.0);
    engine.ff.fx.assign(as_size(n), 0.0);
    engine.ff.fy.assign(as_size(n), 0.0);
    engine.ff.fz.assign(as_size(n), 0.0);
    electrostatics_call(engine);
    calculate_interaction(engine);
}

// Hands the positions as the list build left them (folded into the box) back to the records.
void write_back_positions(const Engine& engine, std::vector<AtomRecord>& atoms) {
    const ForceFieldState& ff = engine.ff;
    const std::size_t count = std::min(as_size(engine.atoms.mylt), atoms.size());
    for (std::size_t i = 0; i < count; ++i) {
        atoms[i].x = ff.rx[i];
        atoms[i].y = ff.ry[i];
        atoms[i].z = ff.rz[i];
    }
}

// Sets, once, the limits outside which the stand-alone drivers hold atoms fixed.
void set_fixing_limits(Engine& engine) {
    UpdateForceState& state = engine.update;
    const double skin = engine.config.latticeskin;
    const AtomStore& store = engine.atoms;
    state.INBOXXMIN = -skin;
    state.INBOXYMIN = -skin;
    state.INBOXZMIN = -skin;
    state.INBOXXMAX = store.lx + skin;
    state.INBOXYMAX = store.ly + skin;
    state.INBOXZMAX = store.lz + skin;
    state.NEWYPOS = 10.0 * store.ly;
    ListLine line;
    line << "fixing atoms if:"
         << " rx<" << state.INBOXXMIN << "or rx>" << state.INBOXXMAX << " ry<" << state.INBOXYMIN
         << "or ry>" << state.INBOXYMAX << " rz<" << state.INBOXZMIN << "or rz>" << state.INBOXZMAX;
    write_stdout_line(line.str());
    state.UPDATE_FORCE_FIRSTRUN = false;
}

// Reports every atom outside the fixing limits; any such atom asks for a new list.
void check_atoms_inside_limits(Engine& engine) {
    UpdateForceState& state = engine.update;
    const ForceFieldState& ff = engine.ff;
    for (int32_t i = 0; i < engine.atoms.mylt; ++i) {
        const double x = ff.rx[i], y = ff.ry[i], z = ff.rz[i];
        const bool inside = x >= state.INBOXXMIN && x <= state.INBOXXMAX && y >= state.INBOXYMIN &&
                            y <= state.INBOXYMAX && z >= state.INBOXZMIN && z <= state.INBOXZMAX;
        if (!inside) {
            ListLine line;
            line << "ATOM OUTSIDE THE FIXING LIMITS:" << ff.idnum[i] << x << y << z;
            write_stdout_line(line.str());
            state.NEBFLG = true;
        }
    }
}

// True when the two largest displacements of free atoms since the last build add up to
// more than the skin, so that some pair may have come within range unseen.
bool list_is_stale(const Engine& engine, const std::vector<AtomRecord>& atoms) {
    const UpdateForceState& state = engine.update;
    const ForceFieldState& ff = engine.ff;
    const std::size_t count = std::min(as_size(engine.atoms.mylt), atoms.size());
    double largest = 0.0, second = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        if (atoms[i].latyp <= 0)
            continue;
        const double dx = ff.rx[i] - state.RXOLD[i];
        const double dy = ff.ry[i] - state.RYOLD[i];
        const double dz = ff.rz[i] - state.RZOLD[i];
        const double d2 = dx * dx + dy * dy + dz * dz;
        if (d2 > largest) {
            second = largest;
            largest = d2;
        } else if (d2 > second) {
            second = d2;
        }
    }
    return std::sqrt(largest) + std::sqrt(second) > engine.neighbours.neblst_skin;
}

}  // namespace

void single_point_evaluation(Engine& engine, std::vector<AtomRecord>& atoms) {
    const int32_t n = engine.sd.myltpnebs;
    duplication_of_atom_vars(engine.ff, n, atoms);
    allocate_list_arrays(engine, n);
    build_nebour_list(engine);
    evaluate_forces(engine, n);
    refuse_coincident_atoms(engine, n);
    write_back_positions(engine, atoms);
    release_list_arrays(engine);
}

void update_force(Engine& engine, std::vector<AtomRecord>& atoms) {
    UpdateForceState& state = engine.update;
    const int32_t n = engine.sd.myltpnebs;
    const int32_t mylt = engine.atoms.mylt;
    ++state.num_force_evals;
    duplication_of_atom_vars(engine.ff, n, atoms);

    if (engine.config.fixatomsoutside) {
        if (state.UPDATE_FORCE_FIRSTRUN)
            set_fixing_limits(engine);
        check_atoms_inside_limits(engine);
    }
    // Saved positions of another number of atoms cannot be compared: build afresh.
    if (mylt != state.SIZE_RXOLD)
        state.NEBFLG = true;
    if (!state.NEBFLG && list_is_stale(engine, atoms))
        state.NEBFLG = true;

    if (state.NEBFLG) {
        allocate_list_arrays(engine, n);
        build_nebour_list(engine);
        write_back_positions(engine, atoms);
        const ForceFieldState& ff = engine.ff;
        state.RXOLD.assign(ff.rx.begin(), ff.rx.begin() + mylt);
        state.RYOLD.assign(ff.ry.begin(), ff.ry.begin() + mylt);
        state.RZOLD.assign(ff.rz.begin(), ff.rz.begin() + mylt);
        state.SIZE_RXOLD = mylt;
        state.NEBFLG = false;
    }

    evaluate_forces(engine, n);
    refuse_coincident_atoms(engine, n);
    state.SIZE_PE = n;
}

void calculate_interaction(Engine& engine) {
    const PotentialRegistry& registry = engine.registry;
    for (int32_t k = 1; k <= registry.num_pots; ++k) {
        const std::string& entry = registry.potlst[static_cast<std::size_t>(k - 1)];
        const KeywordRow* row = find_built_keyword(engine.catalogue, entry);
        if (row == nullptr) {
            nrerror("CALCULATE_INTERACTION: POTLST= " + fixed_width(entry, kKeywordWidth) +
                    " is unknown");
        }
        row->ops->evaluate(engine);
    }
}

}  // namespace pelix
