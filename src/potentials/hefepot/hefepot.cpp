#include "potentials/hefepot/hefepot.hpp"

#include <cmath>
#include <filesystem>

#include "common/fatal_error.hpp"
#include "potentials/family_contract.hpp"
#include "potentials/knot_sums.hpp"

namespace pelix {

namespace {

constexpr int32_t kHe = 2, kFe = 26;

// The family as the common evaluation sees it. The helium atom reads all its iron bonds.
struct HefepotFamily {
    static constexpr std::string_view overflow_message =
        "HeFeZBLPOTL_NEB: WHATs WRONG WITH INTERSIZE";
    static constexpr double bond_capacity = 185.0;
    static constexpr double safety_factor = 1.5;
    static constexpr bool counts_all_atoms = false;
    static constexpr bool stores_type = true;
    static constexpr bool stores_smoothing = false;

    const HefepotState& state;
    // Per bond of the current helium atom within r_c: its slot, f, df/dr, and dE/dR of the
    // triplet terms with respect to the position of its iron atom.
    std::vector<int32_t> near;
    std::vector<double> f, df, gx, gy, gz;

    explicit HefepotFamily(const HefepotState& s) : state(s) {}

    int32_t idnum() const { return state.idnum; }
    bool selects(int32_t z) const { return z == kHe || z == kFe; }
    int32_t mapij(int32_t za, int32_t zb) const { return hefepot_mapij(za, zb); }
    double conrh2(int32_t) const { return state.conrh2; }
    void smoothing(int32_t, double, double&, double&) const {}

    void interact(Engine& engine, int32_t m, int32_t i) {
        if (engine.atoms.anum[engine.ff.specie[i]] != kHe)
            return;
        const BondList& bonds = engine.ff.bonds;
        const BondView bond(bonds);
        const PairTermSink sink(engine);
        near.clear(), f.clear(), df.clear();
        for (int32_t b = bonds.datum[m], end = bonds.datum[m + 1]; b < end; ++b) {
            const double r = bond.length[b];
            const PairValue pair = hefepot_pair(state, r);
            sink.add(i, bond.neb[b], pair.v, -pair.f, bond.ux[b], bond.uy[b], bond.uz[b]);
            if (r < state.r_c) {
                double fb = 0.0, dfb = 0.0;
                hefepot_radial(state, r, fb, dfb);
                near.push_back(b), f.push_back(fb), df.push_back(dfb);
            }
        }
        triplets(bond, sink, i);
    }

    // E = f_a f_c g(u_a . u_c) over the pairs a < c of near bonds. With the iron atom of bond a
    // at R_a = R_i + r_a u_a, dE/dR_a = (f'_a f_c g - f_a f_c g' cos / r_a) u_a
    // + (f_a f_c g' / r_a) u_c; the helium atom takes minus the sum over both iron atoms.
    void triplets(const BondView& bond, const PairTermSink& sink, int32_t i) {
        const std::size_t n = near.size();
        gx.assign(n, 0.0), gy.assign(n, 0.0), gz.assign(n, 0.0);
        double energy = 0.0;
        for (std::size_t a = 0; a < n; ++a) {
            const int32_t ba = near[a];
            const double ra = bond.length[ba], ax = bond.ux[ba], ay = bond.uy[ba], az = bond.uz[ba];
            for (std::size_t c = a + 1; c < n; ++c) {
                const int32_t bc = near[c];
                const double rc = bond.length[bc], cx = bond.ux[bc], cy = bond.uy[bc],
                             cz = bond.uz[bc];
                const double cosine = ax * cx + ay * cy + az * cz;
                double g = 0.0, dg = 0.0;
                hefepot_angular(state, cosine, g, dg);
                const double product = f[a] * f[c];
                energy += product * g;
                const double bend = product * dg;
                const double sa = df[a] * f[c] * g - bend * cosine / ra, ta = bend / ra;
                const double sc = f[a] * df[c] * g - bend * cosine / rc, tc = bend / rc;
                gx[a] += sa * ax + ta * cx, gy[a] += sa * ay + ta * cy, gz[a] += sa * az + ta * cz;
                gx[c] += sc * cx + tc * ax, gy[c] += sc * cy + tc * ay, gz[c] += sc * cz + tc * az;
            }
        }
        sink.pe[i] += energy;
        for (std::size_t a = 0; a < n; ++a) {
            const int32_t j = bond.neb[near[a]];
            sink.fx[j] -= gx[a], sink.fy[j] -= gy[a], sink.fz[j] -= gz[a];
            sink.fx[i] += gx[a], sink.fy[i] += gy[a], sink.fz[i] += gz[a];
        }
    }
};

}  // namespace

PairValue hefepot_pair(const HefepotState& state, double r) {
    switch (join_region(r, state.r_zbl, state.r_join)) {
        case JoinRegion::Zbl:
            return zbl_evaluate(state.zbl, r);
        case JoinRegion::Bridge: {
            const double v = std::exp(state.bridge.value(r));
            return PairValue{v, -v * state.bridge.derivative(r)};
        }
        case JoinRegion::Own:
            break;
    }
    PairValue out;
    double squares = 0.0;
    cubic_knot_sum(state.knot.data(), state.coef.data(), state.knot.size(), r, out.v, squares);
    out.f = 3.0 * squares;
    return out;
}

void hefepot_radial(const HefepotState& state, double r, double& f, double& df) {
    f = df = 0.0;
    if (!(r < state.r_c))
        return;
    const double d = r - state.r_c;
    f = std::exp(state.gamma / d);
    if (f > 0.0)  // else d is so small that d^2 could vanish
        df = -f * state.gamma / (d * d);
}

void hefepot_angular(const HefepotState& state, double c, double& g, double& dg) {
    g = dg = 0.0;
    for (auto b = state.angular.rbegin(); b != state.angular.rend(); ++b) {
        dg = dg * c + g;
        g = g * c + *b;
    }
}

int32_t hefepot_mapij(int32_t za, int32_t zb) {
    if ((za == kHe && zb == kFe) || (za == kFe && zb == kHe))
        return 1;
    nrerror("HeFePOT_MAPIJ: Problems to set HeFePOT_MAPIJ");
}

void setup_prms_for_hefepot(Engine& engine, int32_t k) {
    const std::string path(kHefepotFile);
    if (!std::filesystem::exists(path))
        input_error(path, 0, "file not found; HeFePOT has no built-in parameters");
    hefepot_setup(engine.families.hefepot, read_hefepot_in(path), path, k);
}

double hefepot_cutoff_squared(Engine& engine, int32_t za, int32_t zb) {
    hefepot_mapij(za, zb);
    return engine.families.hefepot.conrh2;
}

void hefepot_call(Engine& engine) {
    HefepotFamily family(engine.families.hefepot);
    evaluate_family(engine, family);
}

const FamilyOps kHefepotOps{setup_prms_for_hefepot, hefepot_cutoff_squared, hefepot_call};

}  // namespace pelix
