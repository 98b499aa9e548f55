#pragma once
// Finding the occupied cells of a cell grid by their numbers while storing nothing, or next to
// nothing, for the empty ones. The occupied cells are numbered 0, 1, ... in increasing cell
// number (the order of the chain heads in CellGrid::celhead); a lookup gives that position, or
// -1 for an empty cell.
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace pelix {

// How a grid's cells are looked up, chosen from the number of cells per atom: a table with one
// entry per cell on coarse grids (at most 16 bytes per atom; the fastest, and the usual case for
// interaction ranges of a few A), a bitmap with one bit per cell on finer ones (at most 96 bytes
// per atom), and on grids finer still, far emptier than any solid or liquid, a hash of the
// occupied cells alone.
enum class CellLookup { table, bitmap, hash };

inline constexpr int64_t kTableCellsPerAtom = 4;
inline constexpr int64_t kTableMinimumCells = int64_t{1} << 15;
inline constexpr int64_t kBitmapCellsPerAtom = 512;
inline constexpr int64_t kBitmapMinimumCells = int64_t{1} << 24;

inline CellLookup cell_lookup_for(int64_t mxyz, int32_t atoms) {
    if (mxyz <= kTableCellsPerAtom * atoms + kTableMinimumCells)
        return CellLookup::table;
    if (mxyz <= kBitmapCellsPerAtom * atoms + kBitmapMinimumCells)
        return CellLookup::bitmap;
    return CellLookup::hash;
}

// Number of set bits. Without a popcount instruction in the target, std::popcount becomes a
// library call; the bit-parallel sum is then faster, and inline.
inline int32_t count_set_bits(uint64_t word) {
#if defined(__POPCNT__)
    return std::popcount(word);
#else
    word -= (word >> 1) & 0x5555555555555555ULL;
    word = (word & 0x3333333333333333ULL) + ((word >> 2) & 0x3333333333333333ULL);
    word = (word + (word >> 4)) & 0x0f0f0f0f0f0f0f0fULL;
    return static_cast<int32_t>((word * 0x0101010101010101ULL) >> 56);
#endif
}

// One bit per cell, set for the occupied cells, and the count of occupied cells before each
// 64-cell word: a cell's position among the occupied cells is a bit test and a popcount away.
// Neighbouring cells share words, so atoms near one another read the same memory.
class OccupancyBitmap {
  public:
    explicit OccupancyBitmap(int64_t mxyz)
        : bits_(static_cast<std::size_t>((mxyz + 63) / 64), 0), before_(bits_.size(), 0) {}

    void mark(int64_t cell) {
        bits_[static_cast<std::size_t>(cell >> 6)] |= uint64_t{1} << (cell & 63);
    }
    // Counts the marked cells into the word prefixes; call after the last mark and before any
    // find. Returns the number of occupied cells.
    int32_t number_occupied() {
        int32_t count = 0;
        for (std::size_t w = 0; w < bits_.size(); ++w) {
            before_[w] = count;
            count += count_set_bits(bits_[w]);
        }
        return count;
    }
    // Starts loading the cell's bit, for a find that follows soon.
    void prefetch(int64_t cell) const {
        __builtin_prefetch(&bits_[static_cast<std::size_t>(cell >> 6)]);
    }
    int32_t find(int64_t cell) const {
        const auto w = static_cast<std::size_t>(cell >> 6);
        const uint64_t bit = uint64_t{1} << (cell & 63);
        if ((bits_[w] & bit) == 0)
            return -1;
        return before_[w] + count_set_bits(bits_[w] & (bit - 1));
    }

  private:
    std::vector<uint64_t> bits_;
    std::vector<int32_t> before_;
};

// The three lookups share one interface: built from the numbers of the occupied cells in
// increasing order (all below mxyz), then find(cell); prefetch(cell) announces a find, and
// kPrefetches says whether announcing is worth its cost.

// A table with one entry per cell of the grid.
class TableCellIndex {
  public:
    TableCellIndex(const std::vector<int64_t>& numbers, int64_t mxyz)
        : slot_(static_cast<std::size_t>(mxyz), -1) {
        for (std::size_t k = 0; k < numbers.size(); ++k)
            slot_[static_cast<std::size_t>(numbers[k])] = static_cast<int32_t>(k);
    }
    static constexpr bool kPrefetches = false;
    void prefetch(int64_t /*cell*/) const {}
    int32_t find(int64_t cell) const { return slot_[static_cast<std::size_t>(cell)]; }

  private:
    std::vector<int32_t> slot_;
};

// The occupancy bitmap.
class BitmapCellIndex {
  public:
    BitmapCellIndex(const std::vector<int64_t>& numbers, int64_t mxyz) : occupancy_(mxyz) {
        for (int64_t c : numbers)
            occupancy_.mark(c);
        occupancy_.number_occupied();
    }
    static constexpr bool kPrefetches = true;
    void prefetch(int64_t cell) const { occupancy_.prefetch(cell); }
    int32_t find(int64_t cell) const { return occupancy_.find(cell); }

  private:
    OccupancyBitmap occupancy_;
};

// An open-addressing hash of the occupied cells alone: linear probing in a power-of-two table
// at most half full.
class HashedCellIndex {
  public:
    HashedCellIndex(const std::vector<int64_t>& numbers, int64_t /*mxyz*/) {
        std::size_t size = 16;
        while (size < 2 * numbers.size())
            size *= 2;
        buckets_.assign(size, {-1, -1});
        mask_ = size - 1;
        for (std::size_t k = 0; k < numbers.size(); ++k) {
            std::size_t b = home(numbers[k]);
            while (buckets_[b].cell >= 0)
                b = (b + 1) & mask_;
            buckets_[b] = {numbers[k], static_cast<int32_t>(k)};
        }
    }
    // Announcing lets the lookups of an atom's neighbouring cells wait for memory side by side
    // rather than one after another.
    static constexpr bool kPrefetches = true;
    void prefetch(int64_t cell) const { __builtin_prefetch(&buckets_[home(cell)]); }
    int32_t find(int64_t cell) const {
        for (std::size_t b = home(cell);; b = (b + 1) & mask_) {
            if (buckets_[b].cell == cell)
                return buckets_[b].slot;
            if (buckets_[b].cell < 0)
                return -1;
        }
    }

  private:
    struct Bucket {
        int64_t cell;  // -1 for a free bucket
        int32_t slot;
    };
    // Mixes all bits of the cell number (the finaliser of splitmix64), so that the regular
    // numbers of a lattice spread evenly over the buckets.
    std::size_t home(int64_t cell) const {
        auto h = static_cast<uint64_t>(cell);
        h = (h ^ (h >> 30)) * 0xbf58476d1ce4e5b9ULL;
        h = (h ^ (h >> 27)) * 0x94d049bb133111ebULL;
        h ^= h >> 31;
        return static_cast<std::size_t>(h) & mask_;
    }
    std::vector<Bucket> buckets_;
    std::size_t mask_ = 0;
};

}  // namespace pelix
