#include "common/memory.hpp"

#include <cstdint>
#include <cstdlib>
#include <new>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace pelix {

namespace {

constexpr std::size_t kPage = ListAllocator<char>::kHugePage;

std::size_t whole_pages(std::size_t bytes) {
    return (bytes + kPage - 1) / kPage * kPage;
}

}  // namespace

#if defined(__linux__)

// Maps one huge page more than asked and gives back the unaligned ends.
void* map_huge(std::size_t bytes) {
    const std::size_t size = whole_pages(bytes);
    void* mapped =
        mmap(nullptr, size + kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED)
        throw std::bad_alloc();
    const auto start = reinterpret_cast<std::uintptr_t>(mapped);
    const std::uintptr_t aligned = (start + kPage - 1) / kPage * kPage;
    if (aligned > start)
        munmap(mapped, aligned - start);
    const std::uintptr_t end = start + size + kPage;
    if (end > aligned + size)
        munmap(reinterpret_cast<void*>(aligned + size), end - (aligned + size));
    void* block = reinterpret_cast<void*>(aligned);
#if defined(MADV_HUGEPAGE)
    madvise(block, size, MADV_HUGEPAGE);  // a hint: refused, the pages stay small
#endif
    return block;
}

void unmap_huge(void* block, std::size_t bytes) noexcept {
    munmap(block, whole_pages(bytes));
}

#else

void* map_huge(std::size_t bytes) {
    void* block = std::aligned_alloc(kPage, whole_pages(bytes));
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void unmap_huge(void* block, std::size_t) noexcept {
    std::free(block);
}

#endif

}  // namespace pelix
