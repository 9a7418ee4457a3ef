#pragma once
// Arrays of point data: a cloud, its coordinates, its cube numbers. They run to tens or
// hundreds of megabytes, and a walk or a sort by cube reads them at scattered places, so
// they are laid in 2 MiB pages where the system offers them: one fault instead of 512 on
// first touch, and one address translation covering a whole run of cubes. What they hold,
// and so every result, is the same either way.

#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace sorvek {

// Smaller arrays come from the ordinary heap.
inline constexpr std::size_t largeArrayBytes = std::size_t{2} << 20;

// Memory for `bytes` bytes: mapped on its own, in large pages where the system allows,
// when at least largeArrayBytes; from the heap otherwise. Throws std::bad_alloc when none
// is left, like operator new.
void* allocateLarge(std::size_t bytes);

// Gives back what allocateLarge(bytes) handed out.
void releaseLarge(void* memory, std::size_t bytes) noexcept;

// std::allocator with allocateLarge behind it: same element semantics, other memory.
template <typename T>
struct LargeAllocator {
    using value_type = T;
    LargeAllocator() = default;
    template <typename U>
    explicit LargeAllocator(const LargeAllocator<U>& /*other*/) noexcept {}
    T* allocate(std::size_t count) { return static_cast<T*>(allocateLarge(count * sizeof(T))); }
    void deallocate(T* memory, std::size_t count) noexcept {
        releaseLarge(memory, count * sizeof(T));
    }
    template <typename U>
    bool operator==(const LargeAllocator<U>& /*other*/) const noexcept {
        return true;
    }
};

// An array whose new elements are value-initialised, as in std::vector.
template <typename T>
using LargeArray = std::vector<T, LargeAllocator<T>>;

// Leaves a new element of a plain type as it is: an array that is written in full
// before it is read is not zero-filled first.
template <typename T>
struct UnfilledAllocator : LargeAllocator<T> {
    static_assert(std::is_trivially_default_constructible_v<T>);
    template <typename U>
    struct rebind {
        using other = UnfilledAllocator<U>;
    };
    UnfilledAllocator() = default;
    template <typename U>
    explicit UnfilledAllocator(const UnfilledAllocator<U>& /*other*/) noexcept {}
    template <typename U>
    void construct(U* place) noexcept {
        ::new (static_cast<void*>(place)) U;
    }
    template <typename U, typename... Arguments>
    void construct(U* place, Arguments&&... arguments) {
        ::new (static_cast<void*>(place)) U(std::forward<Arguments>(arguments)...);
    }
};

// An array of numbers whose growth leaves the new elements unwritten.
template <typename T>
using UnfilledArray = std::vector<T, UnfilledAllocator<T>>;

}  // namespace sorvek
