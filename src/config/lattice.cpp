#include "config/lattice.hpp"

#include <algorithm>
#include <cmath>

#include "common/fatal_error.hpp"
#include "common/fixed_string.hpp"
#include "common/list_directed.hpp"

namespace pelix {

namespace {

// The lattice type a two-character slab code gives; an unknown code keeps the default.
int32_t type_for_code(const std::string& code, int32_t default_type) {
    if (blank_padded_equal(code, "FX"))
        return 0;
    if (blank_padded_equal(code, "DP"))
        return 1;
    if (blank_padded_equal(code, "TH"))
        return 2;
    if (blank_padded_equal(code, "IM"))
        return 4;
    return default_type;
}

// A slab written from the far face (lo > hi) is turned round, and a slab that touches the
// lower or upper face of the box reaches 4 A beyond it, so that atoms that have moved
// slightly out of the box stay in their slab.
void adjust_to_box(LatticeConstraint& slab, double box_length) {
    if (slab.lo > slab.hi) {
        slab.lo = box_length - slab.lo;
        slab.hi = box_length - slab.hi;
    }
    if (slab.lo < 0.01)
        slab.lo -= 4.0;
    if (std::fabs(box_length - slab.hi) < 0.1)
        slab.hi += 4.0;
}

std::vector<LatticeConstraint> read_slabs(ListDirectedFile& file, char axis, double box_length) {
    const std::string count_name = std::string("n") + axis + "lat_constrains";
    int32_t count = 0;
    file.read({int_item(count, count_name)});
    if (count < 0) {
        input_error(
            file.path(), file.line_number(),
            "expected a count of 0 or more (" + count_name + "), found " + std::to_string(count));
    }
    std::vector<LatticeConstraint> slabs;
    for (int32_t k = 1; k <= count; ++k) {
        const std::string slab_name = std::string(1, axis) + " slab " + std::to_string(k);
        std::string code(2, ' ');
        LatticeConstraint slab;
        file.read({char_item(code, 2, "code of " + slab_name),
                   real_item(slab.lo, "lo of " + slab_name),
                   real_item(slab.hi, "hi of " + slab_name)});
        slab.type = type_for_code(code, slab.type);
        adjust_to_box(slab, box_length);
        slabs.push_back(slab);
    }
    return slabs;
}

bool in_slab(const LatticeConstraint& slab, double coordinate) {
    return slab.lo <= coordinate && coordinate < slab.hi;
}

// y and z slabs claim only unclaimed atoms, except that a fixed slab fixes any atom.
void apply_claiming_slabs(const std::vector<LatticeConstraint>& slabs, double coordinate,
                          AtomRecord& atom, bool& claimed) {
    for (const LatticeConstraint& slab : slabs) {
        if (!in_slab(slab, coordinate))
            continue;
        if (!claimed) {
            atom.latyp = slab.type;
            claimed = true;
        } else if (slab.type == 0) {
            atom.latyp = 0;
        }
    }
}

}  // namespace

void get_lattice_constrains(LatticeConstraints& constraints, double lx, double ly, double lz,
                            const std::string& path) {
    constraints = LatticeConstraints{};
    ListDirectedFile file(path);
    constraints.xlat_constrain = read_slabs(file, 'x', lx);
    constraints.ylat_constrain = read_slabs(file, 'y', ly);
    constraints.zlat_constrain = read_slabs(file, 'z', lz);
}

// The run configuration matters only for indentation runs, whose indenter atoms get their
// types from the indentation driver, not here.
void get_latyp(AtomStore& store, const LatticeConstraints& constraints,
               const RunConfig& /*config*/) {
    const std::size_t staged =
        std::min(static_cast<std::size_t>(std::max(store.mylt, 0)), store.list.size());
    for (std::size_t k = 0; k < staged; ++k) {
        AtomRecord& atom = store.list[k];
        if (atom.id >= store.first_lattice_atom && atom.id <= store.last_lattice_atom) {
            bool claimed = false;
            // x slabs override one another: the last matching slab decides.
            for (const LatticeConstraint& slab : constraints.xlat_constrain) {
                if (in_slab(slab, atom.x)) {
                    atom.latyp = slab.type;
                    claimed = true;
                }
            }
            apply_claiming_slabs(constraints.ylat_constrain, atom.y, atom, claimed);
            apply_claiming_slabs(constraints.zlat_constrain, atom.z, atom, claimed);
            if (!claimed)
                atom.latyp = 3;
        }
        if (!store.search_for_pka && atom.id >= store.first_projectile_atom &&
            atom.id <= store.last_projectile_atom) {
            atom.latyp = 3;
        }
    }
}

ExtendedLimits my_extended_limits(const SpatialDecomposition& sd) {
    return {sd.westlim - kExtendedMargin,  sd.eastlim + kExtendedMargin,
            sd.downlim - kExtendedMargin,  sd.uplim + kExtendedMargin,
            sd.southlim - kExtendedMargin, sd.northlim + kExtendedMargin};
}

}  // namespace pelix
