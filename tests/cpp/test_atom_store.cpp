#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "atoms/atom_store.hpp"
#include "atoms/force_field_state.hpp"

namespace {

template <class T>
std::vector<T> operator+(std::vector<T> a, const std::vector<T>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// A record whose fields all differ from one another and from the defaults.
pelix::AtomRecord record(int32_t id, int32_t specie, int32_t latyp, double v = 0.0) {
    return {id, specie, 1.0 * id, 2.0 * id, 3.0 * id, latyp, -0.5 * id, v, 2.0 * v, -v};
}

// Resizing keeps the leading records and gives new ones the defaults; a first list (also the
// first after freeing) replaces nothing; a freed list leaves its memory to the next, and a list
// far smaller than its memory gives it back.
TEST(AtomStore, ReallocationAndStagingKeepLeadingRecordsAndReuseMemory) {
    pelix::AtomStore store;
    pelix::reallocate_atom_array(store, 40);  // a first list: counted as no reallocation
    for (int32_t k = 0; k < 40; ++k)
        store.list[k] = record(k + 1, k, 1, 0.1 * k);
    pelix::reallocate_atom_array(store, 3);
    pelix::reallocate_atom_array(store, 5);
    ASSERT_EQ(store.list.size(), 5u);
    EXPECT_TRUE(store.list[2].vy == 0.2 * 2 && store.list[2].charge == -1.5);
    EXPECT_TRUE(store.list[4].id == 0 && store.list[4].x == 0 && store.list[4].vz == 0 &&
                store.list[4].latyp == 0 && store.reallocations == 2);
    pelix::reallocate_atom_array(store, 40);
    const pelix::AtomRecord* memory = store.list.data();
    store.symbol = {"Fe"};
    pelix::free_atom_list_and_species(store);
    EXPECT_TRUE(store.list.empty() && store.symbol.capacity() == 0u);
    pelix::reallocate_atom_array(store, 30);
    EXPECT_TRUE(store.list.data() == memory && store.reallocations == 3);
    pelix::reallocate_atom_array(store, 5);
    EXPECT_LE(store.list.capacity(), 5u);
    pelix::reallocate_atom_array(store, -4);
    EXPECT_TRUE(store.list.empty());

    // Staged copies of the first n records, made again at every staging.
    pelix::ForceFieldState ff;
    std::vector<pelix::AtomRecord> records = {record(1, 0, 1), record(2, 1, 0), record(3, 2, -3)};
    pelix::duplication_of_atom_vars(ff, 3, records);
    records[0].x = 42.0;
    pelix::duplication_of_atom_vars(ff, 2, records);
    EXPECT_EQ(std::vector<int32_t>(ff.idnum) + ff.specie + ff.latyp,
              (std::vector<int32_t>{1, 2, 0, 1, 1, 0}));
    EXPECT_EQ(ff.rx + ff.ry + ff.rz + ff.charg,
              (std::vector<double>{42.0, 2.0, 2.0, 4.0, 3.0, 6.0, -0.5, -1.0}));
}

TEST(AtomStore, SpeciesAndEnergies) {
    const std::vector<std::string> symbols = {"Fe", "O_", "Fe", "Ti"};
    EXPECT_EQ(pelix::specie_for_atom("Fe", symbols), 2);  // the later entry wins
    EXPECT_EQ(pelix::specie_for_atom("O", symbols), -1);
    int32_t numel = 0;
    std::vector<std::string> registered = {"stale", "entries"};
    for (const char* sym : {"Fe", "O_", "Fe", "O_", "Ti"})
        pelix::checking_for_numel(sym, numel, registered);
    EXPECT_EQ(registered + std::vector<std::string>{std::to_string(numel)},
              std::vector<std::string>({"Fe", "O_", "Ti", "3"}));

    // Only free atoms (type not 0) among the first mylt count: ke = m (1 + 4 + 1) v^2 / 2.
    pelix::AtomStore store;
    store.mass = {2.0, 10.0};
    store.list = {record(1, 0, 1, 1.0), record(2, 1, 0, 1.0), record(3, 1, -1, 1.0),
                  record(4, 1, 2, 0.5), record(5, 0, 1, 3.0)};
    store.pe = {-1.0, -2.0, -4.0, -8.0, -16.0};
    EXPECT_EQ(pelix::tte(store), 0.0);  // mylt = 0
    store.mylt = 4;
    EXPECT_EQ(std::vector<double>({pelix::ke(store, store.list[1]), pelix::tke(store),
                                   pelix::tpe(store), pelix::tte(store)}),
              std::vector<double>({30.0, 6.0 + 7.5, -15.0, -1.5}));
}

}  // namespace
