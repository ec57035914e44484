#include "platform/large_pages.h"

#include <sys/mman.h>

#include <cstdint>

void AdviseLargePages(void* data, std::size_t bytes) {
    constexpr std::uintptr_t kHugePage = std::uintptr_t{2} << 20;
    const auto start = reinterpret_cast<std::uintptr_t>(data);
    const std::uintptr_t first = (start + kHugePage - 1) & ~(kHugePage - 1);
    const std::uintptr_t end = (start + bytes) & ~(kHugePage - 1);
    if (data == nullptr || end <= first) {
        return;
    }
    // The advice is a hint: a kernel without it refuses, and nothing changes.
    (void)madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
}
