#include "platform/large_pages.h"

#include "history/chart_hist_request.h"

#include <sys/mman.h>
#include <unistd.h>

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

void PopulatePages(void* data, std::size_t bytes) {
    if (data == nullptr || bytes == 0) {
        return;
    }
    static const auto kPage = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto start = reinterpret_cast<std::uintptr_t>(data);
    const std::uintptr_t end = start + bytes;
    // Populating a page that the range shares with its neighbours changes none of their bytes.
    const std::uintptr_t first = start & ~(kPage - 1);
    if (madvise(reinterpret_cast<void*>(first), end - first, MADV_POPULATE_WRITE) == 0) {
        return;
    }
    // Refused (a kernel before 5.14, or a range it will not populate): a write into each page
    // faults it in, touching only bytes inside the range.
    volatile auto* bytesAt = static_cast<volatile unsigned char*>(data);
    bytesAt[0] = 0;
    for (std::uintptr_t page = first + kPage; page < end; page += kPage) {
        bytesAt[page - start] = 0;
    }
}

void PrepareSeriesMemory(CHistoryRequestBase& history) {
    history.SetMemoryAdvice(AdviseLargePages);
    history.SetMemoryPrefault(PopulatePages);
}
