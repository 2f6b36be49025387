// The heap count for the leak checks. glibc's own counters (mallinfo2) count the freed blocks
// of its per-thread cache as in use, and that cache fills unevenly over hundreds of cycles,
// which looks like a slow leak. So the tool counts for itself: it provides malloc and its kin,
// which take the place of glibc's for the whole process, plug-ins included, and pass each call
// on to glibc's implementation. Under AddressSanitizer, whose runtime provides them already,
// the runtime's own count serves.

#include "HeapCounter.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <malloc.h>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TESSARINE_TOOL_ASAN 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define TESSARINE_TOOL_ASAN 1
#endif

#ifdef TESSARINE_TOOL_ASAN

// Declared here, as g++ ships no header for it.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();

long long TessarinePluginTool::heapInUse() {
    return static_cast<long long>(__sanitizer_get_current_allocated_bytes());
}

#else

extern "C" {
void* __libc_malloc(std::size_t i_Size);
void* __libc_calloc(std::size_t i_Count, std::size_t i_Size);
void* __libc_realloc(void* i_Block, std::size_t i_Size);
void* __libc_memalign(std::size_t i_Alignment, std::size_t i_Size);
void __libc_free(void* i_Block);
}

namespace {

// Signed: a block that glibc made before the tool's functions took over may be freed through
// them. Atomic, for a plug-in that allocates on threads of its own.
std::atomic<long long> g_InUse{0};

void* counted(void* i_Block) {
    if (i_Block != nullptr) {
        g_InUse += static_cast<long long>(malloc_usable_size(i_Block));
    }
    return i_Block;
}

void uncount(void* i_Block) {
    if (i_Block != nullptr) {
        g_InUse -= static_cast<long long>(malloc_usable_size(i_Block));
    }
}

} // namespace

long long TessarinePluginTool::heapInUse() {
    return g_InUse;
}

extern "C" {

void* malloc(std::size_t i_Size) noexcept {
    return counted(__libc_malloc(i_Size));
}

void* calloc(std::size_t i_Count, std::size_t i_Size) noexcept {
    return counted(__libc_calloc(i_Count, i_Size));
}

void* realloc(void* i_Block, std::size_t i_Size) noexcept {
    std::size_t const before = i_Block != nullptr ? malloc_usable_size(i_Block) : 0;
    void* const block = __libc_realloc(i_Block, i_Size);
    // A failed realloc keeps the old block; realloc to 0 frees it.
    if (block != nullptr || i_Size == 0) {
        g_InUse -= static_cast<long long>(before);
        counted(block);
    }
    return block;
}

void* memalign(std::size_t i_Alignment, std::size_t i_Size) noexcept {
    return counted(__libc_memalign(i_Alignment, i_Size));
}

void* aligned_alloc(std::size_t i_Alignment, std::size_t i_Size) noexcept {
    return memalign(i_Alignment, i_Size);
}

int posix_memalign(void** o_Block, std::size_t i_Alignment, std::size_t i_Size) noexcept {
    if (i_Alignment % sizeof(void*) != 0 || (i_Alignment & (i_Alignment - 1)) != 0) {
        return EINVAL;
    }
    void* const block = memalign(i_Alignment, i_Size);
    if (block == nullptr) {
        return ENOMEM;
    }
    *o_Block = block;
    return 0;
}

void free(void* i_Block) noexcept {
    uncount(i_Block);
    __libc_free(i_Block);
}

} // extern "C"

#endif
