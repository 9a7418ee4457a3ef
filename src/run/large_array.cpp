#include "run/large_array.h"

#include <sys/mman.h>

#include <cstdint>
#include <mutex>
#include <new>

namespace sorvek {
namespace {

// The address sanitizer watches the heap's blocks, not mappings of our own: under it
// every array stays on the heap so that a step past an end is still caught.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool mapsLargeArrays = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
    __has_feature(memory_sanitizer)
constexpr bool mapsLargeArrays = false;
#else
constexpr bool mapsLargeArrays = true;
#endif
#else
constexpr bool mapsLargeArrays = true;
#endif

constexpr std::size_t pageSize = largeArrayBytes;

std::size_t roundedUp(std::size_t bytes) { return (bytes + pageSize - 1) / pageSize * pageSize; }

bool isMapped(std::size_t bytes) { return mapsLargeArrays && bytes >= largeArrayBytes; }

// A few mappings given back are kept for the next array of the same length: a pair's
// arrays come and go in equal sizes, and a kept mapping needs no fresh pages from the
// system, which clears every page it hands out.
constexpr std::size_t keptMappings = 2;
struct KeptMappings {
    std::mutex mutex;
    void* memory[keptMappings] = {};
    std::size_t length[keptMappings] = {};
};

KeptMappings& kept() {
    static KeptMappings mappings;
    return mappings;
}

void* takeKept(std::size_t length) {
    KeptMappings& mappings = kept();
    const std::lock_guard<std::mutex> lock(mappings.mutex);
    for (std::size_t k = 0; k < keptMappings; ++k) {
        if (mappings.memory[k] != nullptr && mappings.length[k] == length) {
            void* memory = mappings.memory[k];
            mappings.memory[k] = nullptr;
            return memory;
        }
    }
    return nullptr;
}

// Keeps `memory`, giving back the oldest kept mapping when every place is taken.
void keep(void* memory, std::size_t length) {
    KeptMappings& mappings = kept();
    void* dropped = nullptr;
    std::size_t droppedLength = 0;
    {
        const std::lock_guard<std::mutex> lock(mappings.mutex);
        dropped = mappings.memory[keptMappings - 1];
        droppedLength = mappings.length[keptMappings - 1];
        for (std::size_t k = keptMappings - 1; k > 0; --k) {
            mappings.memory[k] = mappings.memory[k - 1];
            mappings.length[k] = mappings.length[k - 1];
        }
        mappings.memory[0] = memory;
        mappings.length[0] = length;
    }
    if (dropped != nullptr) munmap(dropped, droppedLength);
}

}  // namespace

void* allocateLarge(std::size_t bytes) {
    if (!isMapped(bytes)) return ::operator new(bytes);
    // One page more than needed, so that an aligned start can be cut out of it; the
    // length is whole pages, so that the last one can be a large page too.
    const std::size_t length = roundedUp(bytes);
    if (void* reused = takeKept(length)) return reused;
    void* mapped = mmap(nullptr, length + pageSize, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) throw std::bad_alloc();
    const auto start = reinterpret_cast<std::uintptr_t>(mapped);
    const std::uintptr_t aligned = (start + pageSize - 1) / pageSize * pageSize;
    const std::size_t head = aligned - start;
    if (head > 0) munmap(mapped, head);
    const std::size_t tail = pageSize - head;
    if (tail > 0) munmap(reinterpret_cast<void*>(aligned + length), tail);
    void* memory = reinterpret_cast<void*>(aligned);
    // Advice only: a system without large pages serves ordinary ones.
    madvise(memory, length, MADV_HUGEPAGE);
    return memory;
}

void releaseLarge(void* memory, std::size_t bytes) noexcept {
    if (memory == nullptr) return;
    if (!isMapped(bytes)) {
        ::operator delete(memory);
        return;
    }
    keep(memory, roundedUp(bytes));
}

}  // namespace sorvek
