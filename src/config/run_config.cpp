#include "config/run_config.hpp"

#include <fstream>

#include "common/fatal_error.hpp"
#include "common/fixed_string.hpp"
#include "common/list_directed.hpp"
#include "common/list_output.hpp"

namespace pelix {

namespace {

// Lines 1-4 hold their value in the first `width` columns; the rest of the line is a label.
std::string fixed_column_value(ListDirectedFile& file, std::size_t width, const std::string& name) {
    return fixed_width(file.read_raw_line(name), width);
}

// A periodic flag as the writer's one-digit field shows it; a value that does not fit
// fills the field with an asterisk.
char one_digit(int32_t flag) {
    return flag >= 0 && flag <= 9 ? static_cast<char>('0' + flag) : '*';
}

}  // namespace

void read_pelixin(RunConfig& config, SpatialDecomposition& sd, const std::string& path) {
    ListDirectedFile file(path);
    RunConfig c = config;  // null items keep the previous settings
    c.bgorct = fixed_column_value(file, 5, "BGORCT");
    c.simustage = fixed_column_value(file, 5, "SIMUSTAGE");
    c.simutype = fixed_column_value(file, 5, "SIMUTYPE");
    c.ident = fixed_column_value(file, 6, "IDENT");
    file.read({int_item(c.pbcx, "PBCX"), int_item(c.pbcy, "PBCY"), int_item(c.pbcz, "PBCZ")});
    file.read({real_item(c.pcskin, "PCSKIN")});
    file.read({real_item(c.dt, "DT")});
    file.read({real_item(c.runtim, "RUNTIM")});
    file.read({int_item(c.fe_flag, "FE_FLAG")});
    file.read({real_item(c.youngs, "YOUNGS")});
    file.read({real_item(c.poissons, "POISSONS")});
    file.read({real_item(c.roe, "ROE")});
    c.roe *= kMassUnit;  // atomic mass units per A^3 to the internal mass unit
    file.read({char_item(c.thermtype, 13, "THERMTYPE")});
    file.read({real_item(c.ttemp, "TTEMP")});
    file.read({real_item(c.ptemp, "PTEMP")});
    file.read({real_item(c.safevr, "SAFEVR")});
    file.read({real_item(c.picevr, "PICEVR")});
    file.read({logical_item(c.ke_vtk, "KE_VTK")});
    file.read({logical_item(c.pe_vtk, "PE_VTK")});
    file.read({logical_item(c.animation_flag, "ANIMATION_FLAG")});
    file.read({real_item(c.animation_frequency, "ANIMATION_FREQUENCY")});
    file.read({int_item(c.multipole_flag, "MULTIPOLE_FLAG")});
    file.read({logical_item(c.neb_flag, "NEB_FLAG")});
    file.read({logical_item(c.chargesinxyz, "CHARGESINXYZ")});
    file.read({logical_item(c.velocityinxyz, "VELOCITYINXYZ")});
    file.read({logical_item(c.zip_flag, "ZIP_FLAG")});
    file.read({logical_item(c.fixatomsoutside, "FIXATOMSOUTSIDE")});
    file.read({real_item(c.latticeskin, "LATTICESKIN")});
    file.read({logical_item(c.chargerecoverysim, "CHARGERECOVERYSIM")});
    file.read({real_item(c.chargerecoveryhalflife, "CHARGERECOVERYHALFLIFE")});
    file.read({real_item(c.chargerecoverytimestep, "CHARGERECOVERYTIMESTEP")});
    file.read({logical_item(c.failsafebackupflag, "FAILSAFEBACKUPFLAG")});
    file.read({logical_item(c.use_pipe, "USE_PIPE")});
    file.read({logical_item(c.minfileoutput, "MINFILEOUTPUT")});
    c.tlayttriamode = c.multipole_flag == 2;

    config = std::move(c);
    sd.sd_simutype = config.simutype;
    sd.sd_pbcx = config.pbcx;
    sd.sd_pbcy = config.pbcy;
    sd.sd_pbcz = config.pbcz;
    sd.sd_fe_flag = config.fe_flag;
}

void update_pelixin(const RunConfig& config, const std::string& path) {
    std::ofstream out(path, std::ios::trunc);
    if (!out)
        input_error(path, 0, "the file cannot be opened for writing");

    auto fixed_line = [&out](const std::string& value, std::size_t width, const char* label) {
        out << fixed_width(value, width) << "  " << label << '\n';
    };
    fixed_line(config.bgorct, 5, "  /* BGORCT => BEGIN or CNTIN (RESUME)");
    fixed_line(config.simustage, 5,
               "   /* SIMUSTAGE => EQUIL (EQUILIBRATION) or PRODU (PRODUCTION)");
    fixed_line(config.simutype, 5, "       /* SIMUTYPE : COLLI, INDEN");
    fixed_line(config.ident, 6, "   /* IDENT  => SIX CHARACTER IDENTIFIER OF THIS RUN");
    out << ' ' << one_digit(config.pbcx) << ' ' << one_digit(config.pbcy) << ' '
        << one_digit(config.pbcz) << "   /* PBCX,PBCY,PBCZ" << '\n';

    auto free_line = [&out](auto value, const char* label) {
        out << (ListLine() << value << label).str() << '\n';
    };
    free_line(config.pcskin, "   /* PCSKIN => SKIN OF NEB-LIST AS % OF CUTOFF");
    free_line(config.dt, "  /* DT     => INTEGTATION TIMESTEP (fS)");
    free_line(config.runtim, "   /* RUNTIM => TOTAL RUN TIME (fS) DURING PRODUCTION STAGE");
    free_line(config.fe_flag, "/* FE_FLAG (SET 1 FOR EMBEDDING CONTINUUM)");
    free_line(config.youngs, "/* YOUNGS eV/A^3 (REQUIRED FOR MULTISCALE MODEL)");
    free_line(config.poissons, "/* POISSONS (REQUIRED FOR MULTISCALE MODEL)");
    free_line(config.roe, "/* ROE (ATOMIC MASS)/A^3 (REQUIRED FOR MULTISCALE MODEL)");
    free_line(fixed_width(config.thermtype, 13),
              "  /* THERMTYPE => THERMOSTAT TYPE (NO_THERMOSTAT,NOSE-HOOVER,..)");
    free_line(config.ttemp, "    /* TTEMP => LATTICE TEMPERATURE (K)");
    free_line(config.ptemp, "   /* PTEMP => PROJECTILE/INDENTER TEMPERATURE (K)");
    free_line(config.safevr, "   /* SAFEVR => FAILSAFE FILE EVERY (fs)");
    free_line(config.picevr, "   /* PICEVR => PICTURE FILE OUTPUT EVERY (fS)");
    free_line(config.ke_vtk, "    /* Include atom Kinetic Energy in PIC file");
    free_line(config.pe_vtk, "  /* Include atom Potential Energy in PIC file");
    free_line(config.animation_flag, "   /* Animation flag");
    free_line(config.animation_frequency, "   /* Update animation input every (fs)");
    free_line(config.multipole_flag, "/* Multipole method (ionic potential) 0=dpmta; 1=fmmp");
    free_line(config.neb_flag, "NEB flag");
    free_line(config.zip_flag, "  /* Zip flag (xyz files)");

    out.flush();
    if (!out)
        input_error(path, 0, "the file cannot be written");
}

}  // namespace pelix
