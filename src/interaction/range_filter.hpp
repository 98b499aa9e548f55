#pragma once
// The innermost loop of the neighbour-list build: the atoms of a run of packed cell entries are
// tested against the pair radii of atom i, and the ones within range are written to the list in
// the order of the run. Eight candidates are tested at a time where the processor has AVX-512,
// four where it has AVX2 (the choice is made at run time, so the module still loads on any
// x86-64); the vector and the scalar loops compute the separation with the same operations in
// the same order and keep exactly the same entries.
#include <cstdint>
#include <vector>

namespace pelix {

// A run of candidate neighbours: packed entries first .. end-1, all seen through one periodic
// image with code `image` and offset (ox, oy, oz) subtracted from their positions.
struct CandidateRun {
    int32_t first, end;
    int32_t image;
    double ox, oy, oz;
};

// The packed candidates: atom index, position and species of every packed entry.
struct PackedView {
    const int32_t* atom;
    const double* x;
    const double* y;
    const double* z;
    const int32_t* specie;
};

// Atom i as the filter sees it: its index, its own packed entry (the runs that hold it are the
// only ones where it must be passed over), its position, its squared pair radius to each of the
// `species` species, and, when that radius is the same for all species, the common value (else
// a NaN).
struct FilterCentre {
    int32_t i;
    int32_t slot;  // atom i's own packed entry, or -1 when it has none
    double x, y, z;
    const double* cutoff2;
    double common_cutoff2;
    int32_t species;
};

// Writes the atoms of `count` runs, runs[chosen[0]] .. runs[chosen[count-1]] in that order, into
// nebour/pbctyp from slot `written` on, keeping those strictly within range of the centre (the
// centre itself excepted), and returns the number of entries written so far. The arrays need one
// slot beyond the entries kept plus the candidates of the runs; slots past the returned count may
// be overwritten.
int64_t append_within_range(const PackedView& packed, const CandidateRun* runs,
                            const uint8_t* chosen, int count, const FilterCentre& centre,
                            int32_t* nebour, int32_t* pbctyp, int64_t written);

// The boxes of the atoms of `count` cells (at most 32), each shifted by the image offset it is
// seen through: arrays lo/hi per axis, each readable up to a whole number of groups of four.
struct CellBoxes {
    const double* xlo;
    const double* xhi;
    const double* ylo;
    const double* yhi;
    const double* zlo;
    const double* zhi;
    int count;
};

// The cells whose box comes strictly within the squared reach reach2[c] of the point (x, y, z),
// by the gap along each axis max(0, lo - x, x - hi) (so that no atom of a cell passed over is
// nearer); writes their numbers in order into `chosen` and returns how many. reach2 is read in
// whole groups of four too.
int choose_reached_cells(const CellBoxes& boxes, const double* reach2, double x, double y, double z,
                         uint8_t* chosen);

// The forms of append_within_range: a plain loop, four candidates at a time (AVX2) and eight
// at a time (AVX-512). All keep exactly the same entries.
enum class FilterPath { Scalar, Avx2, Avx512 };

// The forms this processor can take, the plain loop first and the fastest last
// (append_within_range takes the last).
std::vector<FilterPath> available_filter_paths();

// append_within_range by the given form, which must be one of the available ones.
int64_t append_within_range_on(FilterPath path, const PackedView& packed, const CandidateRun* runs,
                               const uint8_t* chosen, int count, const FilterCentre& centre,
                               int32_t* nebour, int32_t* pbctyp, int64_t written);

}  // namespace pelix
