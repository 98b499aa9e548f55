#include "electrostatics/electrostatics.hpp"

#include <cmath>
#include <string>

#include "common/fatal_error.hpp"
#include "common/list_output.hpp"
#include "engine/engine.hpp"

namespace pelix {

namespace {

// Checks the multipole flag; the tree's settings file is read here once the tree exists.
void read_multipole_in(Engine& engine) {
    const int32_t flag = engine.config.multipole_flag;
    if (flag != 0 && flag != 1) {
        fatal_stop({" MULTIPOLE FLAG SHOULD BE SET TO 0 (DPMTA) or 1 (FMMP)"});
    }
}

// A Coulomb method that this build does not have yet: refuse rather than return an energy
// without the Coulomb part.
[[noreturn]] void method_not_built(const std::string& method) {
    fatal_stop({" ELECTROSTATICS_CALL: " + method +
                " is not available in this build; the configuration has charged atoms"});
}

}  // namespace

void setup_prms_for_electrostatics(Engine& engine) {
    engine.electrostatics.ncharged = 0;
    engine.electrostatics.elecfirstcall = true;
    if (engine.config.multipole_flag < 2)
        read_multipole_in(engine);
}

void electrostatics_call(Engine& engine) {
    auto& state = engine.electrostatics;
    const auto& ff = engine.ff;
    const int32_t mylt = engine.atoms.mylt;
    if (state.elecfirstcall) {
        int32_t count = 0;
        for (int32_t i = 0; i < mylt; ++i) {
            if (!(ff.charg[i] == 0.0))
                ++count;  // a NaN charge counts as charged
        }
        state.ncharged = sumall_i(count);
        state.elecfirstcall = false;
    }
    if (state.ncharged < 2)
        return;

    const int32_t flag = engine.config.multipole_flag;
    if (flag == 2)
        method_not_built("the damped shifted-force sum");
    if (engine.config.pbcx == 1)
        method_not_built("Ewald summation");
    if (flag >= 2)
        return;
    if (flag == 0)
        method_not_built("the multipole tree");
    // flag 1: the second multipole method computes nothing; the per-atom potentials it would
    // have returned are halved into pair-energy shares.
    for (int32_t i = 0; i < mylt; ++i)
        engine.atoms.pe[i] *= 0.5;
}

void finalise_multipole(Engine& /*engine*/) {}

}  // namespace pelix
