#pragma once
// Giving a per-call array's memory back, and the allocator of the largest per-call arrays.
#include <cstddef>
#include <new>
#include <utility>
#include <vector>

namespace pelix {

// Assigning an empty brace list to a vector empties it but keeps its capacity; swapping with a
// fresh vector frees it.
template <class T, class Allocator>
void release_memory(std::vector<T, Allocator>& array) {
    std::vector<T, Allocator>().swap(array);
}

// A block of at least `bytes` (a whole number of 2 MiB pages) aligned to 2 MiB, mapped from
// the kernel on its own, so that it can take transparent huge pages whatever the C library's
// allocator does with its heap; and its release.
void* map_huge(std::size_t bytes);
void unmap_huge(void* block, std::size_t bytes) noexcept;

// Allocator of the neighbour-list arrays, which are filled slot by slot and read only where
// written, and which are hundreds of megabytes for a million atoms, made afresh at every call:
//  - growing leaves the new elements uninitialised (no pass that zeroes what is written next);
//  - a block of 2 MiB or more is mapped on its own (map_huge) and offered to the kernel for
//    transparent huge pages, so that touching it first costs one fault per 2 MiB instead of
//    one per 4 kiB.
template <class T>
struct ListAllocator {
    using value_type = T;
    static constexpr std::size_t kHugePage = std::size_t{2} << 20;

    ListAllocator() = default;
    template <class U>
    ListAllocator(const ListAllocator<U>&) noexcept {}

    T* allocate(std::size_t n) {
        if (n > static_cast<std::size_t>(-1) / sizeof(T))
            throw std::bad_alloc();
        const std::size_t bytes = n * sizeof(T);
        if (bytes < kHugePage)
            return static_cast<T*>(::operator new(bytes));
        return static_cast<T*>(map_huge(bytes));
    }
    void deallocate(T* block, std::size_t n) noexcept {
        if (n * sizeof(T) < kHugePage)
            ::operator delete(block);
        else
            unmap_huge(block, n * sizeof(T));
    }
    // Value-less construction leaves the element as it is.
    template <class U>
    void construct(U* at) noexcept {
        ::new (static_cast<void*>(at)) U;
    }
    template <class U, class... Args>
    void construct(U* at, Args&&... args) {
        ::new (static_cast<void*>(at)) U(std::forward<Args>(args)...);
    }

    friend bool operator==(const ListAllocator&, const ListAllocator&) { return true; }
};

template <class T>
using ListArray = std::vector<T, ListAllocator<T>>;

// A list array released at the end of a call hands its memory to a spare, which the next call
// takes over if it is large enough and not far too large: mapping and first touching the
// hundreds of megabytes of a large system's list again at every call costs a few per cent of
// the call. The array itself is left empty and unallocated; only its memory is kept, for one
// call at a time, as the C library's allocator keeps freed heap.
template <class T>
void retire_to_spare(ListArray<T>& array, ListArray<T>& spare) {
    if (array.capacity() == 0)
        return;  // nothing to hand on: the spare stays as it is
    array.clear();
    spare.swap(array);
    release_memory(array);
}

// Makes `array` (empty) hold `size` elements, in the spare's memory when the spare can take them
// and is no more than kSpareSlack times as large; a spare that is not used is freed.
template <class T>
void resize_from_spare(ListArray<T>& array, ListArray<T>& spare, std::size_t size) {
    constexpr std::size_t kSpareSlack = 4;
    if (array.capacity() == 0 && spare.capacity() >= size && spare.capacity() / kSpareSlack <= size)
        array.swap(spare);
    release_memory(spare);
    array.resize(size);
}

}  // namespace pelix
