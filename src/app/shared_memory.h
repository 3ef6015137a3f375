#pragma once

// Shared memory: objects that a process and those forked from it later see alike.
//
// Ownership: owns the objects in the process that made them; a forked process only refers to them.
// Threads and processes: as the objects allow.

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>

#include <sys/mman.h>

namespace app {

template <class Object>
class SharedMemory {
    static_assert(std::is_trivially_destructible_v<Object>);

public:
    /// Makes `objectCount` objects, at least 1. Throws std::bad_alloc.
    explicit SharedMemory(std::size_t objectCount) : count(objectCount) {
        void* mapped = ::mmap(nullptr, count * sizeof(Object), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (mapped == MAP_FAILED) {
            throw std::bad_alloc();
        }
        objects = static_cast<Object*>(mapped);
        std::uninitialized_default_construct_n(objects, count);
    }
    ~SharedMemory() { ::munmap(objects, count * sizeof(Object)); }
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    [[nodiscard]] Object& operator[](std::size_t index) const { return objects[index]; }

private:
    Object* objects;
    std::size_t count;
};

}  // namespace app
