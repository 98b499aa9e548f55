#include "atoms/atom_store.hpp"

#include <algorithm>
#include <new>
#include <stdexcept>

#include "common/fatal_error.hpp"
#include "common/fixed_string.hpp"
#include "common/memory.hpp"

namespace pelix {

namespace {

constexpr std::size_t kSymbolLength = 2;

std::size_t as_size(int32_t n) {
    return n > 0 ? static_cast<std::size_t>(n) : 0;
}

// Number of leading entries of a container of `size` entries that a count `n` covers.
std::size_t leading(int32_t n, std::size_t size) {
    return std::min(as_size(n), size);
}

}  // namespace

void reallocate_atom_array(AtomStore& store, int32_t n) {
    // A list of a million records is some 70 MB: making it afresh at every call, and again to
    // shrink it after staging, costs a page fault per 4 kiB. The records are therefore resized
    // where they stand whenever the memory held (also that of a freed list) can take them and
    // is not far too large; a list that outgrows its memory is copied into a fresh one.
    constexpr std::size_t kSlack = 4;
    const std::size_t size = as_size(n);
    const std::size_t held = store.list.capacity();
    if (size > held || held / kSlack > size) {
        std::vector<AtomRecord> fresh;
        try {
            fresh.reserve(size);
        } catch (const std::bad_alloc&) {
            nrerror("reallocate_atom_array: problem in attempt to allocate memory");
        } catch (const std::length_error&) {
            nrerror("reallocate_atom_array: problem in attempt to allocate memory");
        }
        const std::size_t kept = std::min(size, store.list.size());
        fresh.assign(store.list.begin(), store.list.begin() + static_cast<std::ptrdiff_t>(kept));
        store.list = std::move(fresh);
    }
    store.list.resize(size);  // within the capacity: new records take their default values
    if (store.list_allocated)
        ++store.reallocations;
    store.list_allocated = true;
}

void free_atom_list_and_species(AtomStore& store) {
    store.list.clear();  // its memory is kept for the next call's list
    store.list_allocated = false;
    release_memory(store.symbol);
    release_memory(store.anum);
    release_memory(store.mass);
    release_memory(store.atmrad);
}

int32_t specie_for_atom(const std::string& sym, const std::vector<std::string>& symbols) {
    const std::string wanted = fixed_width(sym, kSymbolLength);
    for (std::size_t k = symbols.size(); k-- > 0;) {
        if (blank_padded_equal(wanted, symbols[k]))
            return static_cast<int32_t>(k);
    }
    return -1;
}

void checking_for_numel(const std::string& sym, int32_t& numel, std::vector<std::string>& symbols) {
    const std::string symbol = fixed_width(sym, kSymbolLength);
    if (numel <= 0) {
        numel = 1;
        symbols.assign(1, symbol);
        return;
    }
    const auto registered =
        symbols.begin() + static_cast<std::ptrdiff_t>(leading(numel, symbols.size()));
    const bool known = std::any_of(symbols.begin(), registered, [&](const std::string& s) {
        return blank_padded_equal(symbol, s);
    });
    if (known)
        return;
    ++numel;
    symbols.resize(as_size(numel));
    symbols.back() = symbol;
}

double ke(const AtomStore& store, const AtomRecord& record) {
    const double v2 = record.vx * record.vx + record.vy * record.vy + record.vz * record.vz;
    return 0.5 * store.mass[static_cast<std::size_t>(record.specie)] * v2;
}

// The sums below cover the first `mylt` entries; should the arrays hold fewer, they stop at
// the end of the array rather than read past it.
double tke(const AtomStore& store) {
    double total = 0.0;
    const std::size_t count = leading(store.mylt, store.list.size());
    for (std::size_t k = 0; k < count; ++k) {
        const AtomRecord& record = store.list[k];
        if (record.latyp > 0)
            total += ke(store, record);
    }
    return total;
}

double tpe(const AtomStore& store) {
    double total = 0.0;
    const std::size_t count = leading(store.mylt, store.pe.size());
    for (std::size_t k = 0; k < count; ++k)
        total += store.pe[k];
    return total;
}

double tte(const AtomStore& store) {
    return tke(store) + tpe(store);
}

}  // namespace pelix
