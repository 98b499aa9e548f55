#include "atoms/force_field_state.hpp"

#include <algorithm>

#include "common/memory.hpp"

namespace pelix {

void duplication_of_atom_vars(ForceFieldState& ff, int32_t n,
                              const std::vector<AtomRecord>& records) {
    const std::size_t size = n > 0 ? static_cast<std::size_t>(n) : 0;
    // Arrays of the right length are reused as they are; any other length means a fresh set.
    if (!ff.copies_allocated || ff.idnum.size() != size) {
        ff.idnum = std::vector<int32_t>(size);
        ff.rx = std::vector<double>(size);
        ff.ry = std::vector<double>(size);
        ff.rz = std::vector<double>(size);
        ff.charg = std::vector<double>(size);
        ff.specie = std::vector<int32_t>(size);
        ff.latyp = std::vector<int32_t>(size);
        ff.copies_allocated = true;
    }
    const std::size_t count = std::min(size, records.size());
    for (std::size_t k = 0; k < count; ++k) {
        const AtomRecord& record = records[k];
        ff.idnum[k] = record.id;
        ff.rx[k] = record.x;
        ff.ry[k] = record.y;
        ff.rz[k] = record.z;
        ff.charg[k] = record.charge;
        ff.specie[k] = record.specie;
        ff.latyp[k] = record.latyp;
    }
}

void potfor_comvar_finalise(ForceFieldState& ff) {
    release_memory(ff.nebpnt);
    retire_to_spare(ff.nebour, ff.spare_nebour);
    retire_to_spare(ff.pbctyp, ff.spare_pbctyp);
    ff.potnum = SpeciesMatrix<int32_t>{};  // drops the table and its memory
    release_memory(ff.idnum);
    release_memory(ff.rx);
    release_memory(ff.ry);
    release_memory(ff.rz);
    release_memory(ff.charg);
    release_memory(ff.specie);
    release_memory(ff.latyp);
    ff.copies_allocated = false;
    release_memory(ff.fx);
    release_memory(ff.fy);
    release_memory(ff.fz);
    ff.bonds.release();
    release_memory(ff.dpmtagathermax);
    release_memory(ff.dpmtagathermin);
}

}  // namespace pelix
