#include "potentials/buckbw.hpp"

#include "potentials/ionic/ionic_family.hpp"
#include "potentials/ionic/keywords.hpp"

namespace pelix {

namespace {

using Ops = IonicOperations<kBuckbwKeyword, &FamilyStates::buckbw>;

}  // namespace

void setup_prms_for_buckbw(Engine& engine, int32_t k) {
    Ops::setup(engine, k);
}

double buckbw_cutoff_squared(Engine& engine, int32_t za, int32_t zb) {
    return Ops::cutoff_squared(engine, za, zb);
}

void buckbw_call(Engine& engine) {
    Ops::call(engine);
}

int32_t buckbw_mapij(int32_t za, int32_t zb) {
    return ionic_mapij(IonicState{}, kBuckbwKeyword, za, zb);
}

bool buckbw_selects(int32_t z) {
    for (const ElementPair& pair : kBuckbwKeyword.pairs)
        if (pair.za == z || pair.zb == z)
            return true;
    return false;
}

void buckbw_zbl_interaction(const IonicState& state, int32_t t, double r, double& v, double& g) {
    ionic_zbl_region(state.of_type(t), r, v, g);
}

void buckbw_spline_interaction(const IonicState& state, int32_t t, double r, double& v, double& g) {
    ionic_bridge_region(state.of_type(t), r, v, g);
}

void buckbw_buckingham_interaction(const IonicState& state, int32_t t, double r, double& v,
                                   double& g) {
    const IonicPairType& p = state.of_type(t);
    if (r <= p.taper_start)
        ionic_long_range_region(p, r, v, g);
    else
        ionic_bond(p, r, v, g);  // beyond the bridge: the tapered Buckingham form, or zero
}

}  // namespace pelix
