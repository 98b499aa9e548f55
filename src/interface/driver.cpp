#include "interface/driver.hpp"

#include <cmath>
#include <filesystem>
#include <string>

#include "atoms/elements.hpp"
#include "common/fatal_error.hpp"
#include "common/list_output.hpp"
#include "common/memory.hpp"
#include "config/lattice.hpp"
#include "config/run_config.hpp"
#include "engine/engine.hpp"
#include "interaction/cells.hpp"
#include "interaction/evaluation.hpp"
#include "interaction/neighbour_list.hpp"
#include "interaction/registry.hpp"

namespace pelix {

namespace {

std::string describe(const char* what, int64_t value) {
    return std::string(what) + "=" + std::to_string(value);
}

// Refuses the call when `ok` is false. The message is built only then: the per-atom checks run
// for every atom of every call.
template <class Message>
void require(bool ok, Message&& message) {
    if (!ok)
        throw ArgumentError("calcforce: " + message());
}

// The source atom (0-based) of staging position i (0-based).
int32_t source_atom(const CalcForceCall& call, int32_t i) {
    return call.ncalc >= 1 ? call.calcindexes[i] : i;
}

// Tears down everything a force call built, on both exits.
struct ForceCallCleanup {
    Engine& engine;
    ~ForceCallCleanup() {
        free_atom_list_and_species(engine.atoms);
        release_memory(engine.triangle_layer.tlayttriaatoms);
        engine.triangle_layer.tlayttriacnt = 0;
        potfor_finalise(engine);
        potfor_comvar_finalise(engine.ff);
        finalise_multipole(engine);
    }
};

void build_species_tables(AtomStore& atoms, const CalcForceCall& call) {
    const int32_t numel = call.nspecies;
    atoms.numel = numel;
    const auto n = static_cast<std::size_t>(numel > 0 ? numel : 0);
    atoms.symbol.assign(n, std::string());
    atoms.anum.assign(n, 0);
    atoms.mass.assign(n, 0.0);
    atoms.atmrad.assign(n, 0.0);
    for (std::size_t k = 0; k < n; ++k) {
        const std::string sym(call.speciestring.substr(2 * k, 2));
        atoms.symbol[k] = sym;
        atoms.anum[k] = atomic_number(sym);
        atoms.mass[k] = atomic_mass(sym) * kMassUnit;
        atoms.atmrad[k] = atomic_radius(sym);
    }
}

bool inside(const ExtendedLimits& lim, double x, double y, double z) {
    return x >= lim.xlow && x < lim.xhigh && y >= lim.ylow && y < lim.yhigh && z >= lim.zlow &&
           z < lim.zhigh;
}

bool is_main_atom(const CalcForceCall& call, int32_t a) {
    for (int32_t k = 0; k < call.nmain; ++k) {
        if (call.mainindexes[k] == a)
            return true;
    }
    return false;
}

}  // namespace

void validate_calcforce_call(const CalcForceCall& call) {
    for (double length : {call.xdim, call.ydim, call.zdim}) {
        require(std::isfinite(length) && length > 0.0, [&] {
            return "box lengths must be finite and positive, got xdim=" +
                   format_list_double(call.xdim) + " ydim=" + format_list_double(call.ydim) +
                   " zdim=" + format_list_double(call.zdim);
        });
    }
    require(call.image >= -1,
            [&] { return describe("image must be -1 or at least 0, got image", call.image); });
    const int64_t offset = call.image == -1 ? 0 : int64_t{3} * call.natoms * call.image;
    const int64_t lt = call.ncalc >= 1 ? call.ncalc : call.natoms;
    if (lt <= 0)
        return;
    // Species and charges are taken by staging position.
    require(lt <= call.len_specie && lt <= call.len_charge, [&] {
        return describe("ncalc", call.ncalc) + " staging positions but specie and charge hold " +
               std::to_string(std::min(call.len_specie, call.len_charge)) + " entries";
    });
    const int64_t natoms = call.natoms;
    const int64_t coords = std::min(call.len_pos, call.len_force);
    for (int32_t i = 0; i < lt; ++i) {
        const int64_t a = source_atom(call, i);
        if (call.ncalc >= 1) {
            require(a >= 0 && a < natoms, [&] {
                return "calcindexes[" + std::to_string(i) + "]=" + std::to_string(a) +
                       " is outside 0.." + std::to_string(natoms - 1);
            });
        }
        const int64_t last = offset + 3 * a + 2;
        require(offset + 3 * a >= 0 && last < coords, [&] {
            return "image " + std::to_string(call.image) + " of atom " + std::to_string(a) +
                   " needs elements " + std::to_string(offset + 3 * a) + ".." +
                   std::to_string(last) + " of pos and force, which hold " + std::to_string(coords);
        });
        const int32_t s = call.specie[i];
        require(s >= 0 && s < call.nspecies, [&] {
            return "specie[" + std::to_string(i) + "]=" + std::to_string(s) + " is outside 0.." +
                   std::to_string(call.nspecies - 1) + " (species in speciestring)";
        });
        // A NaN or infinite charge would spread NaN through every Coulomb term of the system.
        require(std::isfinite(call.charge[i]), [&] {
            return "charge[" + std::to_string(i) + "]=" + std::to_string(call.charge[i]) +
                   " is not a finite number";
        });
    }
    if (call.ncalc >= 1 && call.nmain >= 1) {
        for (int32_t k = 0; k < call.nmain; ++k) {
            const int32_t a = call.mainindexes[k];
            require(a >= 0 && a < natoms, [&] {
                return "mainindexes[" + std::to_string(k) + "]=" + std::to_string(a) +
                       " is outside 0.." + std::to_string(natoms - 1);
            });
        }
    }
    if (call.edim == call.natoms) {
        require(call.edim <= call.len_kearray && call.edim <= call.len_pearray, [&] {
            return describe("edim", call.edim) + " exceeds the length of kearray or pearray";
        });
    }
}

void calcforce(Engine& engine, const CalcForceCall& call, CalcForceResult& result) {
    validate_calcforce_call(call);
    result.status = 99;
    const int64_t offset = call.image == -1 ? 0 : int64_t{3} * call.natoms * call.image;

    if (!engine.interface_pelixinflag) {
        read_pelixin(engine.config, engine.sd);
        engine.interface_pelixinflag = true;
    }

    AtomStore& atoms = engine.atoms;
    atoms.lt = call.ncalc >= 1 ? call.ncalc : call.natoms;
    atoms.first_lattice_atom = 1;
    atoms.last_lattice_atom = atoms.lt;

    if (atoms.lx != call.xdim || atoms.ly != call.ydim || atoms.lz != call.zdim) {
        atoms.lx = call.xdim;
        atoms.ly = call.ydim;
        atoms.lz = call.zdim;
        get_lattice_constrains(engine.lattice, atoms.lx, atoms.ly, atoms.lz);
    }

    ForceCallCleanup cleanup{engine};
    define_myprocess_boundaries(engine);
    const ExtendedLimits limits = my_extended_limits(engine.sd);

    atoms.my_atom_array_limit = atoms.lt;
    free_atom_list_and_species(atoms);
    reallocate_atom_array(atoms, atoms.lt);
    build_species_tables(atoms, call);

    TriangleLayer& layer = engine.triangle_layer;
    const bool triangle_mode = engine.config.tlayttriamode;
    layer.tlayttriaatoms.clear();
    layer.tlayttriacnt = 0;

    atoms.mylt = 0;
    for (int32_t i = 0; i < atoms.lt; ++i) {
        const int64_t a = source_atom(call, i);
        const double x = call.pos[offset + 3 * a];
        const double y = call.pos[offset + 3 * a + 1];
        const double z = call.pos[offset + 3 * a + 2];
        if (!inside(limits, x, y, z)) {
            write_stdout_line((ListLine() << "ATOMS LOST: THIS IS GOING TO SCREW THINGS UP..."
                                          << i + 1 << x << y << z)
                                  .str());
            write_stdout_line(
                (ListLine() << "PELIXInterface: ERROR: some atoms has been lost").str());
            result.maxforceatom = -99;
            result.status = 1;
            return;
        }
        atoms.mylt += 1;
        if (atoms.mylt > atoms.my_atom_array_limit) {
            atoms.my_atom_array_limit += 10000;
            reallocate_atom_array(atoms, atoms.my_atom_array_limit);
        }
        AtomRecord& rec = atoms.list[static_cast<std::size_t>(atoms.mylt - 1)];
        rec.id = i + 1;
        rec.specie = call.specie[i];
        rec.x = x;
        rec.y = y;
        rec.z = z;
        rec.charge = call.charge[i];
        rec.vx = rec.vy = rec.vz = 0.0;
        if (triangle_mode) {
            const std::string& sym = atoms.symbol[static_cast<std::size_t>(rec.specie)];
            if (sym == "Y_" || sym == "O_")
                layer.tlayttriaatoms.push_back(atoms.mylt - 1);
        }
    }
    layer.tlayttriacnt = static_cast<int32_t>(layer.tlayttriaatoms.size());

    atoms.my_atom_array_limit = atoms.mylt;
    reallocate_atom_array(atoms, atoms.mylt);
    get_latyp(atoms, engine.lattice, engine.config);

    setup_interaction_parameters(engine, atoms.numel, atoms.symbol, 1);
    double range = 0.0;
    setup_nebour_parameters(engine, range);
    single_point_evaluation(engine, atoms.list);

    result.totalenergy = 0.0;
    result.maxforce = 0.0;
    result.maxforceatom = -1;
    const bool write_energies = call.edim == call.natoms;
    const auto& ff = engine.ff;
    for (int32_t j = 0; j < atoms.mylt; ++j) {
        const int32_t a = source_atom(call, j);
        if (call.ncalc >= 1 && call.nmain >= 1 && !is_main_atom(call, a))
            continue;
        const AtomRecord& rec = atoms.list[static_cast<std::size_t>(j)];
        double f[3] = {0.0, 0.0, 0.0};
        if (rec.latyp != 0) {
            f[0] = ff.fx[j];
            f[1] = ff.fy[j];
            f[2] = ff.fz[j];
        }
        double* out = call.force + offset + 3 * int64_t{a};
        out[0] = f[0];
        out[1] = f[1];
        out[2] = f[2];
        const double magnitude = std::sqrt(f[0] * f[0] + f[1] * f[1] + f[2] * f[2]);
        if (magnitude > result.maxforce) {
            result.maxforce = magnitude;
            result.maxforceatom = a;
        }
        result.totalenergy += atoms.pe[j];
        if (write_energies) {
            call.kearray[a] = ke(atoms, rec);
            call.pearray[a] = atoms.pe[j];
        }
    }
    result.status = 0;
}

int32_t read_pelix_in(Engine& engine) {
    std::error_code ec;
    if (!std::filesystem::exists("pelix.IN", ec))
        return 1;
    read_pelixin(engine.config, engine.sd);
    engine.interface_pelixinflag = true;
    return 0;
}

void set_pbcs(Engine& engine, int32_t pbcxin, int32_t pbcyin, int32_t pbczin) {
    RunConfig& config = engine.config;
    write_stdout_line(
        (ListLine() << "CURRENT: " << config.pbcx << config.pbcy << config.pbcz).str());
    config.pbcx = pbcxin;
    config.pbcy = pbcyin;
    config.pbcz = pbczin;
    write_stdout_line((ListLine() << "NEW: " << config.pbcx << config.pbcy << config.pbcz).str());
}

void get_value(std::string_view value_name, double value) {
    // The computation side answers nothing: it sets its own copy of the value.
    value = 1.0;
    (void)value;
    write_stdout_line((ListLine() << "GET VALUE " << value_name).str());
}

}  // namespace pelix
