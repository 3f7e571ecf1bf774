// An allocator for the large per-picture buffers. Big blocks come straight from mmap, asking
// for transparent huge pages and for every page up front (MADV_POPULATE_WRITE) instead of one
// page fault per 4 KiB on first touch: a 4K picture's buffers are hundreds of megabytes, and
// faulting them in page by page costs tenths of a second on virtual machines. Where the kernel
// refuses either request the pages are simply faulted in as usual.
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <memory>
#include <new>
#include <vector>

namespace gs {

template <class T>
struct PopulatedAllocator {
    using value_type = T;
    static constexpr std::size_t kMappedFrom = std::size_t{1} << 20;  // smaller blocks: malloc

    PopulatedAllocator() = default;
    template <class U>
    PopulatedAllocator(const PopulatedAllocator<U>&) {}

    T* allocate(std::size_t n) {
        if (n > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_array_new_length();
        const std::size_t bytes = n * sizeof(T);
        if (bytes < kMappedFrom) return std::allocator<T>().allocate(n);
        void* p = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (p == MAP_FAILED) throw std::bad_alloc();
#ifdef MADV_HUGEPAGE
        madvise(p, bytes, MADV_HUGEPAGE);
#endif
#ifdef MADV_POPULATE_WRITE
        madvise(p, bytes, MADV_POPULATE_WRITE);
#endif
        return static_cast<T*>(p);
    }

    void deallocate(T* p, std::size_t n) {
        const std::size_t bytes = n * sizeof(T);
        if (bytes < kMappedFrom)
            std::allocator<T>().deallocate(p, n);
        else
            munmap(p, bytes);
    }

    template <class U>
    friend bool operator==(const PopulatedAllocator&, const PopulatedAllocator<U>&) {
        return true;
    }
};

// A picture-sized buffer.
template <class T>
using PictureBuffer = std::vector<T, PopulatedAllocator<T>>;

}  // namespace gs
