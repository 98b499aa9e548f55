#include "electrostatics/multipole_settings.hpp"

#include <string>

#include "common/fatal_error.hpp"
#include "common/list_directed.hpp"
#include "common/memory.hpp"
#include "engine/engine.hpp"

namespace pelix {

namespace {

bool tree_selected(const Engine& engine) {
    return engine.config.multipole_flag == 0;
}

bool tracking_enabled(const Engine& engine) {
    return tree_selected(engine) && engine.ff.dpmtaresizeflag;
}

}  // namespace

void read_multipole_in(Engine& engine) {
    const int32_t flag = engine.config.multipole_flag;
    if (flag == 0)
        read_dpmta_in(engine);
    if (flag != 0 && flag != 1)
        fatal_stop({" MULTIPOLE FLAG SHOULD BE SET TO 0 (DPMTA) or 1 (FMMP)"});
}

void read_dpmta_in(Engine& engine) {
    MultipoleState& state = engine.electrostatics.multipole;
    ForceFieldState& ff = engine.ff;
    auto& ints = state.records.integers;
    auto& reals = state.records.reals;
    {
        ListDirectedFile file("dpmta.IN");
        const char* int_names[8] = {"process count",   "tree levels",      "multipole terms",
                                    "mp_lj",           "FFT switch",       "FFT block size",
                                    "periodic switch", "macroscopic terms"};
        for (std::size_t k = 0; k < ints.size(); ++k)
            file.read({int_item(ints[k], int_names[k])});
        const char* real_names[13] = {"theta", "v1x", "v1y", "v1z",  "v2x",  "v2y", "v2z",
                                      "v3x",   "v3y", "v3z", "ctrx", "ctry", "ctrz"};
        for (std::size_t k = 0; k < reals.size(); ++k)
            file.read({real_item(reals[k], real_names[k])});
        file.read({logical_item(ff.dpmtaresizeflag, "dpmtaresizeflag")});
    }
    ints[0] = 1;  // the tree runs as one process

    ff.v1x = reals[1];
    ff.v1y = reals[2];
    ff.v1z = reals[3];
    ff.v2x = reals[4];
    ff.v2y = reals[5];
    ff.v2z = reals[6];
    ff.v3x = reals[7];
    ff.v3y = reals[8];
    ff.v3z = reals[9];
    ff.ctrx = reals[10];
    ff.ctry = reals[11];
    ff.ctrz = reals[12];
    ff.xmaxa = ff.v1x;
    ff.ymaxa = ff.v2y;
    ff.zmaxa = ff.v3z;
    ff.xmina = ff.ymina = ff.zmina = 0.0;

    multipole::fpmtainit(state.tree, ints.data(), reals.data(), state.records.id);
    multipole::fpmtaresize(state.tree, ff.v1x, ff.v1y, ff.v1z, ff.v2x, ff.v2y, ff.v2z, ff.v3x,
                           ff.v3y, ff.v3z, ff.ctrx, ff.ctry, ff.ctrz);
}

void read_fmmp_in(Engine& engine) {
    FmmpSettings& s = engine.electrostatics.multipole.fmmp;
    ListDirectedFile file("fmmp.IN");
    file.read({int_item(s.iws, "iws")});
    file.read({int_item(s.itr, "itr")});
    file.read({int_item(s.ipbc, "ipbc")});
    file.read({int_item(s.lbotx, "lbotx")});
    file.read({int_item(s.lboty, "lboty")});
    file.read({int_item(s.lbotz, "lbotz")});
    for (std::size_t k = 0; k < 3; ++k)
        file.read({real_item(s.hx[k], "hx(" + std::to_string(k + 1) + ")")});
    for (std::size_t k = 0; k < 3; ++k)
        file.read({real_item(s.hy[k], "hy(" + std::to_string(k + 1) + ")")});
    for (std::size_t k = 0; k < 3; ++k)
        file.read({real_item(s.hz[k], "hz(" + std::to_string(k + 1) + ")")});
}

void setup_dpmtaresize(Engine& engine) {
    if (!tracking_enabled(engine))
        return;
    ForceFieldState& ff = engine.ff;
    ff.dpmtaboxcntr = {ff.ctrx, ff.ctry, ff.ctrz};
    ff.dpmtaboxside = {ff.v1x, ff.v2y, ff.v3z};
    for (std::size_t a = 0; a < 3; ++a) {
        ff.dpmtahalfbox[a] = 0.5 * ff.dpmtaboxside[a];
        ff.dpmtamax[a] = ff.dpmtaboxcntr[a] + ff.dpmtahalfbox[a];
        ff.dpmtamin[a] = ff.dpmtaboxcntr[a] - ff.dpmtahalfbox[a];
    }
}

void main_dpmtaresize(Engine& engine) {
    if (!tracking_enabled(engine))
        return;
    ForceFieldState& ff = engine.ff;
    MultipoleState& state = engine.electrostatics.multipole;
    DpmtaTracking& t = state.tracking;

    for (auto& row : t.dpmtachngflag)
        row = {false, false, false};
    for (std::size_t a = 0; a < 3; ++a) {
        t.dpmtatempmax[a] = ff.dpmtamax[a] - kDpmtaFaceMargin;
        t.dpmtatempmin[a] = ff.dpmtamin[a] + kDpmtaFaceMargin;
    }

    for (int32_t i = 0; i < engine.atoms.mylt; ++i) {
        if (ff.charg[i] == 0.0)
            continue;  // uncharged atoms never move the box
        t.pos = {ff.rx[i], ff.ry[i], ff.rz[i]};
        for (std::size_t a = 0; a < 3; ++a) {
            // A coordinate that raised the upper value is not tested against the lower one.
            if (t.pos[a] > t.dpmtatempmax[a]) {
                t.dpmtatempmax[a] = t.pos[a];
                t.dpmtachngflag[0][a] = true;
            } else if (t.pos[a] < t.dpmtatempmin[a]) {
                t.dpmtatempmin[a] = t.pos[a];
                t.dpmtachngflag[1][a] = true;
            }
        }
    }

    // The extremes combined over all processes (largest upper, smallest lower value); the
    // engine runs as one process, so the gathered values are its own.
    ff.dpmtagathermax.assign(t.dpmtatempmax.begin(), t.dpmtatempmax.end());
    ff.dpmtagathermin.assign(t.dpmtatempmin.begin(), t.dpmtatempmin.end());
    for (std::size_t a = 0; a < 3; ++a) {
        t.dpmtatempmax[a] = ff.dpmtagathermax[a];
        t.dpmtatempmin[a] = ff.dpmtagathermin[a];
    }
    release_memory(ff.dpmtagathermax);
    release_memory(ff.dpmtagathermin);

    bool moved = false;
    for (std::size_t a = 0; a < 3; ++a) {
        if (t.dpmtachngflag[0][a]) {
            ff.dpmtamax[a] = t.dpmtatempmax[a] + kDpmtaFaceOvershoot;
            moved = true;
        }
        if (t.dpmtachngflag[1][a]) {
            ff.dpmtamin[a] = t.dpmtatempmin[a] - kDpmtaFaceOvershoot;
            moved = true;
        }
    }
    if (!moved)
        return;
    for (std::size_t a = 0; a < 3; ++a) {
        ff.dpmtaboxside[a] = ff.dpmtamax[a] - ff.dpmtamin[a];
        ff.dpmtaboxcntr[a] = ff.dpmtamax[a] - 0.5 * ff.dpmtaboxside[a];
    }
    const auto& side = ff.dpmtaboxside;
    const auto& centre = ff.dpmtaboxcntr;
    multipole::fpmtaresize(state.tree, side[0], 0.0, 0.0, 0.0, side[1], 0.0, 0.0, 0.0, side[2],
                           centre[0], centre[1], centre[2]);
}

void eval_multipole(Engine& engine) {
    if (!tree_selected(engine))
        return;
    ForceFieldState& ff = engine.ff;
    // The tree scales its results by the Coulomb constant and replaces what the arrays held.
    multipole::fpmtaforce(engine.electrostatics.multipole.tree, engine.atoms.mylt, ff.rx.data(),
                          ff.ry.data(), ff.rz.data(), ff.charg.data(), ff.fx.data(), ff.fy.data(),
                          ff.fz.data(), engine.atoms.pe.data());
}

void finalise_multipole(Engine& engine) {
    if (tree_selected(engine))
        multipole::fpmtaexit(engine.electrostatics.multipole.tree);
}

}  // namespace pelix
