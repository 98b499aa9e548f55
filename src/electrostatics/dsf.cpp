#include "electrostatics/dsf.hpp"

#include <cmath>
#include <vector>

#include "common/fatal_error.hpp"
#include "engine/engine.hpp"

namespace pelix {

namespace {

constexpr double kSqrtPi = 1.7724538509055159;

bool oxygen_or_yttrium(int32_t z) {
    return z == 8 || z == 39;
}

// Books the pair terms of atoms i and j at distance r, u the unit vector from i to j.
void add_dsf_pair(Engine& engine, const DsfShift& shift, int32_t i, int32_t j, double r, double ux,
                  double uy, double uz) {
    ForceFieldState& ff = engine.ff;
    const DsfPairTerms terms = dsf_pair_terms(shift, ff.charg[i], ff.charg[j], r);
    engine.atoms.pe[i] += terms.energy_share;
    engine.atoms.pe[j] += terms.energy_share;
    ff.add_pair_force(i, j, -terms.force, ux, uy, uz);
}

void reset_constants(DsfState& state) {
    state.dsf_el_conrh = 15.0;
    state.dsf_el_conrh2 = 225.0;
    state.dsf_alpha = 0.15;
}

}  // namespace

DsfShift dsf_shift(const DsfState& state) {
    const double rc = state.dsf_el_conrh;
    const double alpha = state.dsf_alpha;
    const double screened = std::erfc(alpha * rc);
    const double a = screened / rc;
    const double b =
        screened / (rc * rc) + 2.0 * alpha * std::exp(-alpha * alpha * rc * rc) / (rc * kSqrtPi);
    return {rc, alpha, a, b};
}

DsfPairTerms dsf_pair_terms(const DsfShift& shift, double qi, double qj, double r) {
    const double qq = kDsfEfactor * qi * qj;
    const double screened = std::erfc(shift.alpha * r);
    const double energy = 0.5 * qq * (screened / r - shift.a + (r - shift.rc) * shift.b);
    const double gauss =
        2.0 * shift.alpha / kSqrtPi * std::exp(-shift.alpha * shift.alpha * r * r) / r;
    const double force = qq * (screened / (r * r) + gauss - shift.b);
    return {energy, force};
}

void tla_estimate_electrostatics(Engine& engine) {
    DsfState& state = engine.electrostatics.dsf;
    reset_constants(state);
    const TriangleLayer& layer = engine.triangle_layer;
    if (layer.tlayttriacnt < 1)
        return;
    const DsfShift shift = dsf_shift(state);
    const ForceFieldState& ff = engine.ff;
    for (int32_t a = 0; a < layer.tlayttriacnt; ++a) {
        const int32_t i = layer.tlayttriaatoms[static_cast<std::size_t>(a)];
        for (int32_t b = a + 1; b < layer.tlayttriacnt; ++b) {
            const int32_t j = layer.tlayttriaatoms[static_cast<std::size_t>(b)];
            const double dx = ff.rx[j] - ff.rx[i];
            const double dy = ff.ry[j] - ff.ry[i];
            const double dz = ff.rz[j] - ff.rz[i];
            const double r2 = dx * dx + dy * dy + dz * dz;
            if (!(r2 <= state.dsf_el_conrh2))
                continue;
            const double r = std::sqrt(r2);
            add_dsf_pair(engine, shift, i, j, r, dx / r, dy / r, dz / r);
        }
    }
}

void setup_prms_for_dsf_electrostatics(Engine& engine, int32_t idnum) {
    DsfState& state = engine.electrostatics.dsf;
    state.dsf_electrostatics_idnum = idnum;
    reset_constants(state);
}

double dsf_electrostatics_cutoff_squared(Engine& engine, int32_t zi, int32_t zj) {
    if (oxygen_or_yttrium(zi) && oxygen_or_yttrium(zj))
        return engine.electrostatics.dsf.dsf_el_conrh2;
    return 0.0;
}

void dsf_electrostatics_neb(Engine& engine, int32_t i, bool& exceed) {
    ForceFieldState& ff = engine.ff;
    BondList& bonds = ff.bonds;
    const std::vector<int32_t>& anum = engine.atoms.anum;
    const int32_t zi = anum[ff.specie[i]];
    if (!oxygen_or_yttrium(zi))
        return;
    for (int32_t k = ff.nebpnt[i]; k < ff.nebpnt[i + 1]; ++k) {
        const int32_t j = ff.nebour[k];
        const int32_t zj = anum[ff.specie[j]];
        if (!oxygen_or_yttrium(zj))
            continue;
        const int32_t image = ff.pbctyp[k];
        const double dx = ff.rx[j] - ff.rx[i] - ff.xoffset(image);
        const double dy = ff.ry[j] - ff.ry[i] - ff.yoffset(image);
        const double dz = ff.rz[j] - ff.rz[i] - ff.zoffset(image);
        const double r2 = dx * dx + dy * dy + dz * dz;
        if (!(r2 < dsf_electrostatics_cutoff_squared(engine, zi, zj)))
            continue;
        if (bonds.nebtot >= bonds.intersize) {
            exceed = true;
            engine.electrostatics.dsf.exceed = true;
            nrerror("DSF_ELECTROSTATICS_NEB: WHATs WRONG WITH INTERSIZE");
        }
        const double r = std::sqrt(r2);
        bonds.neb.push_back(j);
        bonds.bndlen.push_back(r);
        bonds.bndxnm.push_back(dx / r);
        bonds.bndynm.push_back(dy / r);
        bonds.bndznm.push_back(dz / r);
        ++bonds.nebtot;
    }
}

void dsf_electrostatics_interact(Engine& engine, int32_t k, int32_t i) {
    const DsfShift shift = dsf_shift(engine.electrostatics.dsf);
    const BondList& bonds = engine.ff.bonds;
    const auto first = static_cast<std::size_t>(bonds.datum[static_cast<std::size_t>(k)]);
    const auto end = static_cast<std::size_t>(bonds.datum[static_cast<std::size_t>(k) + 1]);
    for (std::size_t m = first; m < end; ++m) {
        const int32_t j = bonds.neb[m];
        if (j <= i)
            continue;
        add_dsf_pair(engine, shift, i, j, bonds.bndlen[m], bonds.bndxnm[m], bonds.bndynm[m],
                     bonds.bndznm[m]);
    }
}

void dsf_electrostatics_call(Engine& engine) {
    ForceFieldState& ff = engine.ff;
    BondList& bonds = ff.bonds;
    DsfState& state = engine.electrostatics.dsf;
    const int32_t nlocal = engine.sd.myltpnebs;

    std::vector<int32_t> collected;
    int64_t listed = 0;
    for (int32_t i = 0; i < nlocal; ++i) {
        if (oxygen_or_yttrium(engine.atoms.anum[ff.specie[i]])) {
            collected.push_back(i);
            listed += ff.nebpnt[i + 1] - ff.nebpnt[i];
        }
    }
    const auto n = static_cast<int32_t>(collected.size());
    if (n == 0)
        return;

    // Every bond comes from one neighbour-list entry of a collected atom, so their number
    // bounds the store.
    bonds.clear_bonds();
    bonds.intersize = static_cast<int32_t>(listed);
    bonds.lstindx.assign(static_cast<std::size_t>(nlocal), -1);
    bonds.datum.assign(static_cast<std::size_t>(n) + 1, 0);
    state.exceed = false;
    bool exceed = false;
    for (int32_t k = 0; k < n; ++k) {
        const int32_t i = collected[static_cast<std::size_t>(k)];
        bonds.lstindx[static_cast<std::size_t>(i)] = k;
        bonds.datum[static_cast<std::size_t>(k)] = bonds.nebtot;
        dsf_electrostatics_neb(engine, i, exceed);
        if (exceed)
            break;
    }
    bonds.datum[static_cast<std::size_t>(n)] = bonds.nebtot;

    for (int32_t k = 0; k < n; ++k)
        dsf_electrostatics_interact(engine, k, collected[static_cast<std::size_t>(k)]);
    bonds.release();
}

}  // namespace pelix
