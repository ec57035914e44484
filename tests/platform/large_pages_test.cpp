#include "platform/large_pages.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace {

// Which of a fresh mapping's pages are resident, as 'x' and '.', before and after populating a
// range that starts and ends inside pages.
TEST(PopulatePages, MakesEveryPageTheRangeTouchesResidentAndLeavesItsBytesAlone) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    constexpr std::size_t kPages = 12;
    void* const mapping =
        mmap(nullptr, kPages * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(mapping, MAP_FAILED);
    auto* const bytes = static_cast<unsigned char*>(mapping);
    const auto resident = [&] {
        std::vector<unsigned char> pages(kPages);
        EXPECT_EQ(mincore(mapping, kPages * page, pages.data()), 0);
        std::string map;
        for (const unsigned char state : pages) {
            map += (state & 1) != 0 ? 'x' : '.';
        }
        return map;
    };
    bytes[2 * page + 7] = 42;
    EXPECT_EQ(resident(), "..x.........");
    PopulatePages(bytes + page + 100, 4 * page);
    EXPECT_EQ(resident(), ".xxxxx......");
    EXPECT_EQ(bytes[2 * page + 7], 42);
    PopulatePages(bytes + 9 * page, 1);
    PopulatePages(nullptr, page);
    EXPECT_EQ(resident(), ".xxxxx...x..");
    munmap(mapping, kPages * page);
}

} // namespace
