#ifndef TESSARINE_TESTS_ALLOCATIONCOUNTER_H
#define TESSARINE_TESTS_ALLOCATIONCOUNTER_H

// Counts the allocations of a program and can make a chosen one fail.
//
// Every allocation of the process is seen: the library's, the standard library's (operator
// new calls malloc) and the program's own. Normally this header puts its own malloc, calloc
// and realloc in front of glibc's. Under AddressSanitizer, which owns the allocator, it counts
// through the sanitizer's allocation hook instead, and no allocation can be made to fail:
// TESSARINE_ALLOCATION_FAILURES is 0 then. Include it in exactly one source file of a program.

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

/// Allocations seen while counting, and the number of the one that is to fail (0: none).
struct AllocationWatch {
    bool m_Counting = false;
    long m_Count = 0;
    long m_FailAt = 0;

    /// Counts the allocation now asked for and tells whether it is to fail.
    bool failNow() { return m_Counting && ++m_Count == m_FailAt; }
};

inline AllocationWatch g_AllocationWatch;

/// Counts the allocations made during its life; `i_FailAt` (counted from 1) makes that one
/// fail where TESSARINE_ALLOCATION_FAILURES allows. One at a time.
class CountingAllocations {
public:
    explicit CountingAllocations(long i_FailAt = 0) { g_AllocationWatch = {true, 0, i_FailAt}; }
    ~CountingAllocations() { g_AllocationWatch.m_Counting = false; }
    CountingAllocations(CountingAllocations const&) = delete;
    CountingAllocations& operator=(CountingAllocations const&) = delete;

    long count() const { return g_AllocationWatch.m_Count; }
};

} // namespace TessarineTest

#if TESSARINE_ALLOCATION_FAILURES
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
#else
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*i_MallocHook)(void const volatile*,
                                                                              std::size_t),
                                                         void (*i_FreeHook)(void const volatile*));

namespace TessarineTest {

// Counts every allocation the sanitizer makes; releases are of no interest.
inline int const g_AllocationHooks = __sanitizer_install_malloc_and_free_hooks(
    [](void const volatile*, std::size_t) { g_AllocationWatch.failNow(); },
    [](void const volatile*) {});

} // namespace TessarineTest
#endif

#endif
