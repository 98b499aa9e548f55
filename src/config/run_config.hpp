#pragma once
// The run configuration "pelix.IN": 34 records read once per process into the run settings.
#include <cstdint>
#include <string>

namespace pelix {

struct RunConfig {
    std::string bgorct = std::string(5, ' ');      // line 1, "BEGIN" or "CNTIN"
    std::string simustage = std::string(5, ' ');   // line 2, "EQUIL" or "PRODU"
    std::string simutype = std::string(5, ' ');    // line 3, "COLLI" or "INDEN"
    std::string ident = std::string(6, ' ');       // line 4
    int32_t pbcx = 0, pbcy = 0, pbcz = 0;          // line 5, periodic flags
    double pcskin = 0.0;                           // line 6
    double dt = 0.0;                               // line 7, fs
    double runtim = 0.0;                           // line 8, fs
    int32_t fe_flag = 0;                           // line 9
    double youngs = 0.0;                           // line 10, eV/A^3
    double poissons = 0.0;                         // line 11
    double roe = 0.0;                              // line 12, internal mass unit per A^3
    std::string thermtype = std::string(13, ' ');  // line 13
    double ttemp = 0.0;                            // line 14, K
    double ptemp = 0.0;                            // line 15, K
    double safevr = 0.0;                           // line 16, fs
    double picevr = 0.0;                           // line 17, fs
    bool ke_vtk = false;                           // line 18
    bool pe_vtk = false;                           // line 19
    bool animation_flag = false;                   // line 20
    double animation_frequency = 0.0;              // line 21, fs
    int32_t multipole_flag = 0;                    // line 22
    bool neb_flag = false;                         // line 23
    bool chargesinxyz = false;                     // line 24
    bool velocityinxyz = false;                    // line 25
    bool zip_flag = false;                         // line 26
    bool fixatomsoutside = false;                  // line 27
    double latticeskin = 0.0;                      // line 28, A
    bool chargerecoverysim = false;                // line 29
    double chargerecoveryhalflife = 0.0;           // line 30
    double chargerecoverytimestep = 0.0;           // line 31
    bool failsafebackupflag = false;               // line 32
    bool use_pipe = false;                         // line 33
    bool minfileoutput = false;                    // line 34
    bool tlayttriamode = false;                    // derived: multipole_flag == 2
};

// The single-process spatial decomposition: region limits and the copies of the run
// settings it keeps (west/east is x, down/up is y, south/north is z).
struct SpatialDecomposition {
    std::string sd_simutype = std::string(5, ' ');
    int32_t sd_pbcx = 0, sd_pbcy = 0, sd_pbcz = 0;
    int32_t sd_fe_flag = 0;
    double westlim = 0.0, eastlim = 0.0;
    double downlim = 0.0, uplim = 0.0;
    double southlim = 0.0, northlim = 0.0;
    int32_t myltpnebs = 0;
    double sd_ohmega = 0.0;
};

// Mass conversion from atomic mass units to the internal unit, used exactly as written.
inline constexpr double kMassUnit = 104.363024;

// Reads the run configuration from `path` (normally "pelix.IN"), makes the copies into the
// spatial-decomposition settings, converts the density and sets tlayttriamode. A missing
// file, a missing line or a value that does not parse is an input error (exit status 2).
void read_pelixin(RunConfig& config, SpatialDecomposition& sd,
                  const std::string& path = "pelix.IN");

// Rewrites `path` from the settings: lines 1-23, then the zip flag as the 24th and last line.
void update_pelixin(const RunConfig& config, const std::string& path = "pelix.IN");

}  // namespace pelix
