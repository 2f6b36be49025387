#ifndef TESSARINE_TESTS_ALLOCATIONCOUNTER_H
#define TESSARINE_TESTS_ALLOCATIONCOUNTER_H

// Counts the allocations of a program and can make a chosen one fail.
//
// Including this header puts its own malloc, calloc and realloc in front of glibc's, so every
// allocation of the process passes through them: the library's, the standard library's
// (operator new calls malloc) and the program's own. Include it in exactly one source file of
// a program. AddressSanitizer owns the allocator itself; under it nothing is replaced and
// TESSARINE_ALLOCATIONS_COUNTED is 0.

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define TESSARINE_ALLOCATIONS_COUNTED 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TESSARINE_ALLOCATIONS_COUNTED 0
#endif
#endif
#ifndef TESSARINE_ALLOCATIONS_COUNTED
#define TESSARINE_ALLOCATIONS_COUNTED 1
#endif

namespace TessarineTest {

/// Allocations seen while counting, and the number of the one that is to fail (0: none).
struct AllocationWatch {
    bool m_Counting = false;
    long m_Count = 0;
    long m_FailAt = 0;

    /// Whether the allocation now asked for is to fail.
    bool failNow() {
        if (!m_Counting) {
            return false;
        }
        ++m_Count;
        return m_Count == m_FailAt;
    }
};

inline AllocationWatch g_AllocationWatch;

/// Counts the allocations made during its life; `i_FailAt` (counted from 1) makes that one
/// fail. One at a time.
class CountingAllocations {
public:
    explicit CountingAllocations(long i_FailAt = 0) { g_AllocationWatch = {true, 0, i_FailAt}; }
    ~CountingAllocations() { g_AllocationWatch.m_Counting = false; }
    CountingAllocations(CountingAllocations const&) = delete;
    CountingAllocations& operator=(CountingAllocations const&) = delete;

    long count() const { return g_AllocationWatch.m_Count; }
};

} // namespace TessarineTest

#if TESSARINE_ALLOCATIONS_COUNTED
extern "C" {
void* __libc_malloc(std::size_t i_Size);
void* __libc_calloc(std::size_t i_Count, std::size_t i_Size);
void* __libc_realloc(void* i_Block, std::size_t i_Size);

void* malloc(std::size_t i_Size) noexcept {
    return TessarineTest::g_AllocationWatch.failNow() ? nullptr : __libc_malloc(i_Size);
}
void* calloc(std::size_t i_Count, std::size_t i_Size) noexcept {
    return TessarineTest::g_AllocationWatch.failNow() ? nullptr : __libc_calloc(i_Count, i_Size);
}
void* realloc(void* i_Block, std::size_t i_Size) noexcept {
    return TessarineTest::g_AllocationWatch.failNow() ? nullptr : __libc_realloc(i_Block, i_Size);
}
}
#endif

#endif
