#include "electrostatics/electrostatics.hpp"

#include <algorithm>
#include <cmath>

#include "electrostatics/ewald.hpp"
#include "engine/engine.hpp"
#include "interaction/cells.hpp"

namespace pelix {

namespace {

// A NaN charge counts as charged.
bool is_charged(double q) {
    return !(q == 0.0);
}

// Turns the per-atom potentials of a long-range method into each atom's share of the pair
// energies. Sound only because the dispatcher runs first, on zeroed energies.
void halve_energies(Engine& engine) {
    for (int32_t i = 0; i < engine.atoms.mylt; ++i)
        engine.atoms.pe[i] *= 0.5;
}

}  // namespace

void setup_prms_for_electrostatics(Engine& engine) {
    engine.electrostatics.ncharged = 0;
    engine.electrostatics.elecfirstcall = true;
    const RunConfig& config = engine.config;
    if (config.multipole_flag < 2)
        read_multipole_in(engine);
    if (config.multipole_flag == 0 && engine.ff.dpmtaresizeflag && config.pbcx != 1)
        setup_dpmtaresize(engine);
}

void electrostatics_call(Engine& engine) {
    ElectrostaticsState& state = engine.electrostatics;
    ForceFieldState& ff = engine.ff;
    const RunConfig& config = engine.config;
    const int32_t mylt = engine.atoms.mylt;
    if (state.elecfirstcall) {
        int32_t count = 0;
        for (int32_t i = 0; i < mylt; ++i)
            count += is_charged(ff.charg[i]) ? 1 : 0;
        state.ncharged = sumall_i(count);
        state.elecfirstcall = false;
    }
    if (state.ncharged < 2)
        return;

    const int32_t flag = config.multipole_flag;
    if (flag == 2) {
        tla_estimate_electrostatics(engine);
        return;
    }
    if (ff.dpmtaresizeflag && flag == 0 && config.pbcx != 1)
        main_dpmtaresize(engine);
    if (config.pbcx == 1) {
        periodic_ewald(engine, mylt, ff.rx.data(), ff.ry.data(), ff.rz.data(), ff.charg.data(),
                       ff.fx.data(), ff.fy.data(), ff.fz.data(), engine.atoms.pe.data());
        halve_energies(engine);
        return;
    }
    if (flag >= 2)
        return;
    eval_multipole(engine);
    halve_energies(engine);
}

bool ewald_will_run(const Engine& engine) {
    const RunConfig& config = engine.config;
    if (config.pbcx != 1 || config.multipole_flag == 2)
        return false;
    const AtomStore& atoms = engine.atoms;
    const auto n =
        std::min<std::size_t>(static_cast<std::size_t>(std::max(atoms.mylt, 0)), atoms.list.size());
    int32_t charged = 0;
    for (std::size_t i = 0; i < n && charged < 2; ++i)
        charged += is_charged(atoms.list[i].charge) ? 1 : 0;
    return sumall_i(charged) >= 2;
}

}  // namespace pelix
