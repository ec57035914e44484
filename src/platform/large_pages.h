#pragma once

#include <cstddef>

class CHistoryRequestBase;

// Asks the kernel to back the whole 2 MiB pages inside [data, data + bytes) with transparent
// huge pages, before the memory is first written: a long column then takes one page fault per
// 2 MiB instead of one per 4 KiB. Without transparent huge pages (or for a range too short to
// hold one) it does nothing; the memory works the same either way.
void AdviseLargePages(void* data, std::size_t bytes);

// Makes the pages of [data, data + bytes) resident and writable now, taking their page faults
// (and any compaction a large page needs) on the calling thread. A kernel that does not know the
// request gets a write of one byte in each page instead, so the range must be memory whose
// contents do not matter yet.
void PopulatePages(void* data, std::size_t bytes);

// Sets up the memory of `history` as the application's series use it: blocks advised as large
// pages, and the block after the one being filled made resident ahead on a helper thread.
void PrepareSeriesMemory(CHistoryRequestBase& history);
