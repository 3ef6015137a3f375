#pragma once

// Shared memory: an object that two processes see alike, in a file without a name whose descriptor
// goes from one to the other. Neither can change the file's size, which would take the memory away
// below the other's feet.
//
// Ownership: owns its mapping. Threads and processes: as the object allows; what the other process
// stores may be anything.

#include <cerrno>
#include <cstddef>
#include <new>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "io/descriptor.h"
#include "io/run_failure.h"

namespace ifdsweep {

template <class Object>
class SharedMemory {
    static_assert(std::is_trivially_destructible_v<Object>);

public:
    /// Makes the object, and the file in which it lies. Throws RunFailure.
    [[nodiscard]] static std::pair<SharedMemory, Descriptor> make() {
        Descriptor file(::memfd_create("ifdsweep", MFD_CLOEXEC | MFD_ALLOW_SEALING));
        if (!file.isOpen() || ::ftruncate(file.get(), sizeof(Object)) != 0 ||
            ::fcntl(file.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0) {
            throw RunFailure("cannot make shared memory: " + systemErrorText(errno));
        }
        void* mapped = map(file.get());
        if (mapped == MAP_FAILED) {
            throw RunFailure("cannot share memory: " + systemErrorText(errno));
        }
        return {SharedMemory(::new (mapped) Object()), std::move(file)};
    }

    /// The object in a file that another process made; nothing when it is no such file.
    [[nodiscard]] static std::optional<SharedMemory> open(int file) {
        struct stat status {};
        if (::fstat(file, &status) != 0 || status.st_size != sizeof(Object)) {
            return {};
        }
        void* mapped = map(file);
        return mapped == MAP_FAILED ? std::nullopt
                                    : std::optional(SharedMemory(static_cast<Object*>(mapped)));
    }

    SharedMemory(SharedMemory&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
    SharedMemory& operator=(SharedMemory&& other) noexcept {
        std::swap(object, other.object);
        return *this;
    }
    ~SharedMemory() {
        if (object != nullptr) {
            ::munmap(object, sizeof(Object));
        }
    }

    [[nodiscard]] Object& operator*() const { return *object; }
    [[nodiscard]] Object* operator->() const { return object; }

private:
    explicit SharedMemory(Object* mapped) : object(mapped) {}

    static void* map(int file) {
        return ::mmap(nullptr, sizeof(Object), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    }

    Object* object;
};

}  // namespace ifdsweep
