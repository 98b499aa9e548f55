#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "config/run_config.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

using test_support::input_error_text;

// A complete run configuration, records separated by '|'.
std::vector<std::string> sample_lines() {
    std::istringstream text(
        "BEGIN  /* BGORCT|EQUIL|COLLI|RUN001  /* IDENT| 1 0 1  /* PBCX,PBCY,PBCZ| 10.0| 0.5  /* DT"
        "| 1000.0| 1| 0.75| 0.3| 2.0 /* ROE|NO_THERMOSTAT  /* THERMTYPE| 300| 10| 50| 25| T"
        "| .FALSE.| t| 5.0| 2 /* Multipole| F NEB flag| T| F| .true.| T| 3.5| F| 100| 0.25| T| F| "
        "T");
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line, '|');)
        lines.push_back(line);
    return lines;
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines)
        text += line + "\n";
    return text;
}

TEST(RunConfig, ReadsRecordsCopiesSettingsAndStopsOnBadInput) {
    test_support::ScratchDir dir;
    RunConfig c;
    SpatialDecomposition sd;
    sd.sd_pbcx = sd.sd_pbcy = sd.sd_pbcz = sd.sd_fe_flag = -1;
    read_pelixin(c, sd, dir.write("pelix.IN", joined(sample_lines())));
    EXPECT_EQ(c.ident + c.thermtype, "RUN001NO_THERMOSTAT");
    EXPECT_DOUBLE_EQ(c.roe, 208.726048);
    EXPECT_EQ(std::vector<double>({c.dt, c.latticeskin, c.chargerecoverytimestep}),
              std::vector<double>({0.5, 3.5, 0.25}));
    EXPECT_EQ(std::vector<bool>({c.ke_vtk, c.pe_vtk, c.animation_flag, c.neb_flag, c.chargesinxyz,
                                 c.velocityinxyz, c.zip_flag, c.minfileoutput}),
              std::vector<bool>({true, false, true, false, true, false, true, true}));
    EXPECT_EQ(sd.sd_simutype, "COLLI");
    EXPECT_EQ(std::vector<int32_t>({sd.sd_pbcx, sd.sd_pbcy, sd.sd_pbcz, sd.sd_fe_flag}),
              std::vector<int32_t>({1, 0, 1, 1}));

    // Only the first 5 or 6 columns of lines 1-4 count; a short line is blank-padded.
    auto lines = sample_lines();
    lines[0] = "CNTINUE_FROM_HERE";
    lines[2] = "IND";
    lines[3] = "ABCDEFGH";
    for (int32_t flag : {0, 1, 2, 3}) {
        lines[21] = " " + std::to_string(flag) + " /* Multipole";
        read_pelixin(c, sd, dir.write("pelix.IN", joined(lines)));
        EXPECT_EQ(c.tlayttriamode, flag == 2) << flag;
    }
    EXPECT_EQ(c.bgorct + c.ident + sd.sd_simutype, "CNTINABCDEFIND  ");

    lines = sample_lines();
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
    test_support::ScratchDir dir;
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
    EXPECT_NE(written[6].find(" 0.5"), std::string::npos);
    EXPECT_NE(written[6].find("/* DT     => INTEGTATION TIMESTEP (fS)"), std::string::npos);
    EXPECT_NE(written[22].find("F NEB flag"), std::string::npos);
    EXPECT_NE(written[23].find("T   /* Zip flag (xyz files)"), std::string::npos);
    EXPECT_EQ(input_error_text([&] { read_pelixin(c, sd, out); }),
              out + " line 25: expected VELOCITYINXYZ, found end of file");
}

}  // namespace
}  // namespace pelix
