#include "atoms/force_field_state.hpp"

#include <algorithm>

namespace pelix {

namespace {

// Gives the array's memory back. (Assigning an empty brace list would keep the capacity.)
template <class T>
void release(std::vector<T>& array) {
    std::vector<T>().swap(array);
}

}  // namespace

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
    release(ff.nebpnt);
    release(ff.nebour);
    release(ff.pbctyp);
    ff.potnum = SpeciesMatrix<int32_t>{};  // drops the table and its memory
    release(ff.idnum);
    release(ff.rx);
    release(ff.ry);
    release(ff.rz);
    release(ff.charg);
    release(ff.specie);
    release(ff.latyp);
    ff.copies_allocated = false;
    release(ff.fx);
    release(ff.fy);
    release(ff.fz);
    ff.bonds.release();
    release(ff.dpmtagathermax);
    release(ff.dpmtagathermin);
}

}  // namespace pelix
