#ifndef TESSARINE_TESTS_ALLOCATIONCOUNTER_H
#define TESSARINE_TESTS_ALLOCATIONCOUNTER_H

// Counts the allocations of a program, can make a chosen one fail, and keeps the balance of
// blocks taken and given back.
//
// Every allocation of the process is seen: the library's, the standard library's (operator
// new calls malloc) and the program's own, through a malloc, calloc, realloc and free of its
// own in front of glibc's. Under AddressSanitizer, which owns the allocator, nothing is counted
// and TESSARINE_ALLOCATION_FAILURES is 0: tests that need it skip. Include it in exactly one
// source file of a program.

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define TESSARINE_ALLOCATION_FAILURES 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TESSARINE_ALLOCATION_FAILURES 0
#endif
#endif
#ifndef TESSARINE_ALLOCATION_FAILURES
#define TESSARINE_ALLOCATION_FAILURES 1
#endif

namespace TessarineTest {

/// Allocations seen while counting, the number of the one that is to fail (0: none), and the
/// blocks taken but not yet given back while tracking.
struct AllocationWatch {
    bool m_Counting = false;
    long m_Count = 0;
    long m_FailAt = 0;
    bool m_FailLater = false;
    bool m_Tracking = false;
    long m_Live = 0;

    /// Counts the allocation now asked for and tells whether it is to fail.
    bool failNow() {
        if (!m_Counting) {
            return false;
        }
        ++m_Count;
        return m_FailAt != 0 && (m_FailLater ? m_Count >= m_FailAt : m_Count == m_FailAt);
    }
    void taken(void const volatile* i_Block) { m_Live += m_Tracking && i_Block != nullptr; }
    void givenBack(void const volatile* i_Block) { m_Live -= m_Tracking && i_Block != nullptr; }
};

inline AllocationWatch g_AllocationWatch;

/// Counts the allocations made during its life; `i_FailAt` (counted from 1) makes that one
/// fail, and with `i_AndAllLater` every one after it too, where TESSARINE_ALLOCATION_FAILURES
/// allows. One at a time.
class CountingAllocations {
public:
    explicit CountingAllocations(long i_FailAt = 0, bool i_AndAllLater = false) {
        g_AllocationWatch.m_Counting = true;
        g_AllocationWatch.m_Count = 0;
        g_AllocationWatch.m_FailAt = i_FailAt;
        g_AllocationWatch.m_FailLater = i_AndAllLater;
    }
    ~CountingAllocations() { g_AllocationWatch.m_Counting = false; }
    CountingAllocations(CountingAllocations const&) = delete;
    CountingAllocations& operator=(CountingAllocations const&) = delete;

    long count() const { return g_AllocationWatch.m_Count; }
};

/// Tracks the blocks taken and given back during its life; a non-zero balance at the end of a
/// piece of work that should leave nothing behind is a leak. One at a time.
class TrackingBlocks {
public:
    TrackingBlocks() {
        g_AllocationWatch.m_Tracking = true;
        g_AllocationWatch.m_Live = 0;
    }
    ~TrackingBlocks() { g_AllocationWatch.m_Tracking = false; }
    TrackingBlocks(TrackingBlocks const&) = delete;
    TrackingBlocks& operator=(TrackingBlocks const&) = delete;

    long live() const { return g_AllocationWatch.m_Live; }
};

} // namespace TessarineTest

#if TESSARINE_ALLOCATION_FAILURES
extern "C" {
void* __libc_malloc(std::size_t i_Size);
void* __libc_calloc(std::size_t i_Count, std::size_t i_Size);
void* __libc_realloc(void* i_Block, std::size_t i_Size);
void __libc_free(void* i_Block);

namespace {
void* tracked(void* i_Block) {
    TessarineTest::g_AllocationWatch.taken(i_Block);
    return i_Block;
}
} // namespace

void* malloc(std::size_t i_Size) noexcept {
    return TessarineTest::g_AllocationWatch.failNow() ? nullptr : tracked(__libc_malloc(i_Size));
}
void* calloc(std::size_t i_Count, std::size_t i_Size) noexcept {
    return TessarineTest::g_AllocationWatch.failNow() ? nullptr
                                                      : tracked(__libc_calloc(i_Count, i_Size));
}
// Growing a block keeps the balance; only a new one (from null) adds to it.
void* realloc(void* i_Block, std::size_t i_Size) noexcept {
    if (TessarineTest::g_AllocationWatch.failNow()) {
        return nullptr;
    }
    void* const block = __libc_realloc(i_Block, i_Size);
    return i_Block == nullptr ? tracked(block) : block;
}
void free(void* i_Block) noexcept {
    TessarineTest::g_AllocationWatch.givenBack(i_Block);
    __libc_free(i_Block);
}
}
#endif

#endif
