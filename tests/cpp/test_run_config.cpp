#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>

#include "config/run_config.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

using test_support::input_error_text;

// Writes a complete run configuration (records separated by '|' and numbered from 0), some of
// them replaced, and returns the file's path.
std::string write(const test_support::ScratchDir& dir, std::map<int, std::string> edits) {
    std::istringstream sample(
        "BEGIN  /* BGORCT|EQUIL|COLLI|RUN001  /* IDENT| 1 0 1  /* PBCX,PBCY,PBCZ| 10.0| 0.5  /* DT"
        "| 1000.0| 1| 0.75| 0.3| 2.0 /* ROE|NO_THERMOSTAT  /* THERMTYPE| 300| 10| 50| 25| T"
        "| .FALSE.| t| 5.0| 2 /* Multipole| F NEB flag| T| F| .true.| T| 3.5| F| 100| 0.25| T| F| "
        "T");
    std::string text, line;
    for (int k = 0; std::getline(sample, line, '|'); ++k)
        text += (edits.count(k) ? edits[k] : line) + "\n";
    return dir.write("pelix.IN", text);
}

// The records land in the settings (the periodic flags and the simulation type in the
// decomposition), the writer lays them out for people and its file does not read back; only
// the first 5 or 6 columns of lines 1-4 count (a short line blank-padded); bad input stops.
TEST(RunConfig, ReadsRecordsWritesTheLayoutAndStopsOnBadInput) {
    test_support::ScratchDir dir;
    RunConfig c;
    SpatialDecomposition sd;
    sd.sd_pbcx = sd.sd_pbcy = sd.sd_pbcz = sd.sd_fe_flag = -1;
    read_pelixin(c, sd, write(dir, {}));
    EXPECT_EQ(c.ident + c.thermtype + sd.sd_simutype, "RUN001NO_THERMOSTATCOLLI");
    EXPECT_DOUBLE_EQ(c.roe, 208.726048);
    EXPECT_EQ(std::vector<double>({c.dt, c.latticeskin, c.chargerecoverytimestep}),
              std::vector<double>({0.5, 3.5, 0.25}));
    EXPECT_EQ(std::vector<bool>({c.ke_vtk, c.pe_vtk, c.animation_flag, c.neb_flag, c.chargesinxyz,
                                 c.velocityinxyz, c.zip_flag, c.minfileoutput}),
              std::vector<bool>({true, false, true, false, true, false, true, true}));
    EXPECT_EQ(std::vector<int32_t>({sd.sd_pbcx, sd.sd_pbcy, sd.sd_pbcz, sd.sd_fe_flag}),
              std::vector<int32_t>({1, 0, 1, 1}));

    const std::string out = dir.path("out.IN");
    update_pelixin(c, out);
    std::ifstream in(out);
    std::vector<std::string> written;
    for (std::string line; std::getline(in, line);)
        written.push_back(line);
    ASSERT_EQ(written.size(), 24u);
    EXPECT_EQ(written[0], "BEGIN    /* BGORCT => BEGIN or CNTIN (RESUME)");
    EXPECT_EQ(written[3], "RUN001     /* IDENT  => SIX CHARACTER IDENTIFIER OF THIS RUN");
    EXPECT_EQ(written[4], " 1 0 1   /* PBCX,PBCY,PBCZ");
    EXPECT_EQ(written[12].substr(0, 16), " NO_THERMOSTAT  ");
    EXPECT_NE(written[6].find(" 0.5"), std::string::npos);
    EXPECT_NE(written[23].find("T   /* Zip flag (xyz files)"), std::string::npos);
    EXPECT_EQ(input_error_text([&] { read_pelixin(c, sd, out); }),
              out + " line 25: expected VELOCITYINXYZ, found end of file");

    for (int32_t flag : {0, 1, 2, 3}) {
        read_pelixin(c, sd,
                     write(dir, {{0, "CNTINUE_FROM_HERE"},
                                 {2, "IND"},
                                 {3, "ABCDEFGH"},
                                 {21, " " + std::to_string(flag) + " /* Multipole"}}));
        EXPECT_EQ(c.tlayttriamode, flag == 2) << flag;
    }
    EXPECT_EQ(c.bgorct + c.ident + sd.sd_simutype, "CNTINABCDEFIND  ");
}

}  // namespace
}  // namespace pelix
