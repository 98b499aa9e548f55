#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "config/run_config.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

using test_support::input_error_text;
using test_support::ScratchDir;

// A complete run configuration, one string per line.
std::vector<std::string> sample_lines() {
    return {"BEGIN  /* BGORCT => BEGIN or CNTIN (RESUME)",
            "EQUIL   /* SIMUSTAGE",
            "COLLI       /* SIMUTYPE : COLLI, INDEN",
            "RUN001   /* IDENT",
            " 1 0 1   /* PBCX,PBCY,PBCZ",
            " 10.0   /* PCSKIN",
            " 0.5  /* DT",
            " 1000.0   /* RUNTIM",
            " 1 /* FE_FLAG",
            " 0.75 /* YOUNGS",
            " 0.3 /* POISSONS",
            " 2.0 /* ROE (ATOMIC MASS)/A^3",
            "NO_THERMOSTAT  /* THERMTYPE",
            " 300.0    /* TTEMP",
            " 10.0   /* PTEMP",
            " 50.0   /* SAFEVR",
            " 25.0   /* PICEVR",
            " T    /* KE",
            " .FALSE.  /* PE",
            " t   /* Animation flag",
            " 5.0   /* Update animation input every (fs)",
            " 2 /* Multipole method",
            " F NEB flag",
            " T",
            " F",
            " .true.  /* Zip flag",
            " T",
            " 3.5",
            " F",
            " 100.0",
            " 0.25",
            " T",
            " F",
            " T"};
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines)
        text += line + "\n";
    return text;
}

TEST(RunConfig, ReadsAllRecordsAndCopies) {
    ScratchDir dir;
    RunConfig c;
    SpatialDecomposition sd;
    read_pelixin(c, sd, dir.write("pelix.IN", joined(sample_lines())));
    EXPECT_EQ(c.bgorct, "BEGIN");
    EXPECT_EQ(c.simustage, "EQUIL");
    EXPECT_EQ(c.ident, "RUN001");
    EXPECT_EQ(c.thermtype, "NO_THERMOSTAT");
    EXPECT_DOUBLE_EQ(c.roe, 208.726048);
    EXPECT_DOUBLE_EQ(c.dt, 0.5);
    EXPECT_DOUBLE_EQ(c.animation_frequency, 5.0);
    EXPECT_DOUBLE_EQ(c.latticeskin, 3.5);
    EXPECT_DOUBLE_EQ(c.chargerecoverytimestep, 0.25);
    EXPECT_EQ(
        std::vector<bool>({c.ke_vtk, c.pe_vtk, c.animation_flag, c.neb_flag, c.chargesinxyz,
                           c.velocityinxyz, c.zip_flag, c.fixatomsoutside, c.chargerecoverysim,
                           c.failsafebackupflag, c.use_pipe, c.minfileoutput}),
        std::vector<bool>(
            {true, false, true, false, true, false, true, true, false, true, false, true}));
    EXPECT_TRUE(c.tlayttriamode);
    EXPECT_EQ(sd.sd_simutype, "COLLI");
    EXPECT_EQ(std::vector<int32_t>({sd.sd_pbcx, sd.sd_pbcy, sd.sd_pbcz, sd.sd_fe_flag}),
              std::vector<int32_t>({1, 0, 1, 1}));
}

TEST(RunConfig, FixedColumnsAndMultipoleMode) {
    ScratchDir dir;
    auto lines = sample_lines();
    lines[0] = "CNTINUE_FROM_HERE";
    lines[2] = "IND";  // shorter than the field: padded with blanks
    lines[3] = "ABCDEFGH";
    RunConfig c;
    SpatialDecomposition sd;
    for (int32_t flag : {0, 1, 2}) {
        lines[21] = " " + std::to_string(flag) + " /* Multipole";
        read_pelixin(c, sd, dir.write("pelix.IN", joined(lines)));
        EXPECT_EQ(c.tlayttriamode, flag == 2) << flag;
    }
    EXPECT_EQ(c.bgorct, "CNTIN");
    EXPECT_EQ(c.simutype, "IND  ");
    EXPECT_EQ(sd.sd_simutype, "IND  ");
    EXPECT_EQ(c.ident, "ABCDEF");
}

TEST(RunConfig, InputErrors) {
    ScratchDir dir;
    RunConfig c;
    SpatialDecomposition sd;
    const std::string missing = dir.path("pelix.IN");
    EXPECT_EQ(input_error_text([&] { read_pelixin(c, sd, missing); }),
              missing + ": file not found");

    auto lines = sample_lines();
    lines[6] = " abc  /* DT";
    std::string path = dir.write("pelix.IN", joined(lines));
    EXPECT_EQ(input_error_text([&] { read_pelixin(c, sd, path); }),
              path + " line 7: expected a real number (DT), found \"abc\"");

    lines = sample_lines();
    lines.resize(33);
    path = dir.write("pelix.IN", joined(lines));
    EXPECT_EQ(input_error_text([&] { read_pelixin(c, sd, path); }),
              path + " line 34: expected MINFILEOUTPUT, found end of file");
}

TEST(RunConfig, WrittenFileHasTheWriterLayoutAndDoesNotReadBack) {
    ScratchDir dir;
    RunConfig c;
    SpatialDecomposition sd;
    read_pelixin(c, sd, dir.write("pelix.IN", joined(sample_lines())));
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
    EXPECT_NE(written[6].find("/* DT     => INTEGTATION TIMESTEP (fS)"), std::string::npos);
    EXPECT_NE(written[22].find("F NEB flag"), std::string::npos);
    EXPECT_NE(written[23].find("T   /* Zip flag (xyz files)"), std::string::npos);
    std::istringstream dt_line(written[6]);
    double dt = 0.0;
    dt_line >> dt;
    EXPECT_DOUBLE_EQ(dt, 0.5);

    EXPECT_EQ(input_error_text([&] { read_pelixin(c, sd, out); }),
              out + " line 25: expected VELOCITYINXYZ, found end of file");
}

}  // namespace
}  // namespace pelix
