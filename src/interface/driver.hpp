#pragma once
// The force-call driver behind PELIXInterface.calcforce.
#include <cstdint>
#include <string_view>

namespace pelix {

struct Engine;

// The converted arguments of one force call. Pointers refer to the caller's arrays; the
// len_* fields are the true element counts of those arrays, used to refuse indices that
// would reach outside them.
struct CalcForceCall {
    int32_t image = 0;
    std::string_view speciestring;
    const int32_t* specie = nullptr;
    const double* pos = nullptr;
    const double* charge = nullptr;
    double* force = nullptr;
    double* kearray = nullptr;
    double* pearray = nullptr;
    double xdim = 0, ydim = 0, zdim = 0;
    const int32_t* calcindexes = nullptr;
    const int32_t* mainindexes = nullptr;
    int32_t posdim = 0, natoms = 0, nspecies = 0, edim = 0, ncalc = 0, nmain = 0;
    int64_t len_specie = 0, len_pos = 0, len_charge = 0, len_force = 0, len_kearray = 0,
            len_pearray = 0, len_calcindexes = 0, len_mainindexes = 0;
};

struct CalcForceResult {
    double totalenergy = 0.0;
    double maxforce = 0.0;
    int32_t maxforceatom = 0;
    int32_t status = 0;
};

// Throws ArgumentError when an index, species number or image would reach outside the
// caller's arrays, before anything is computed.
void validate_calcforce_call(const CalcForceCall& call);

// One force call. `result` comes in with the caller's totalenergy and maxforce (they stay
// unchanged after lost atoms) and goes out with all four results.
void calcforce(Engine& engine, const CalcForceCall& call, CalcForceResult& result);

// read_pelix_in: 0 and the run configuration loaded when "pelix.IN" exists, else 1.
int32_t read_pelix_in(Engine& engine);
// set_pbcs: prints the current and the new periodic flags and stores the new ones.
void set_pbcs(Engine& engine, int32_t pbcxin, int32_t pbcyin, int32_t pbczin);
// get_value: prints "GET VALUE " and the name; answers nothing.
void get_value(std::string_view value_name, double value);

}  // namespace pelix
