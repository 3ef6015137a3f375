#include "hostile/failing_memory.h"

#include <cstdlib>
#include <limits>
#include <new>

namespace {

// Constant initialisation alone: these are asked while a thread starts.
thread_local std::uint64_t requestsUntilFailure = 0;
thread_local bool countsLibrary = false;
thread_local bool failed = false;
thread_local std::size_t largestRequest = std::numeric_limits<std::size_t>::max();

bool fails(std::size_t size) noexcept {
    if (size > largestRequest) {
        return true;
    }
    if (requestsUntilFailure == 0 || --requestsUntilFailure != 0) {
        return false;
    }
    failed = true;
    return true;
}

}  // namespace

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && defined(__GLIBC__) && \
    !defined(__clang__)
#define IFDSWEEP_FAILING_MALLOC 1
extern "C" {
void* __libc_malloc(std::size_t size);
void* malloc(std::size_t size) {
    return countsLibrary && fails(size) ? nullptr : __libc_malloc(size);
}
}
#else
#define IFDSWEEP_FAILING_MALLOC 0
#endif

namespace {

/// Memory that counts as one request, however it is had.
void* take(std::size_t size, std::size_t alignment) {
    if (fails(size)) {
        throw std::bad_alloc();
    }
    const bool counted = countsLibrary;
    countsLibrary = false;
    const std::size_t rounded = (size + alignment - 1) / alignment * alignment;
    void* memory = alignment <= alignof(std::max_align_t) ? std::malloc(size == 0 ? 1 : size)
                                                          : std::aligned_alloc(alignment, rounded);
    countsLibrary = counted;
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

}  // namespace

void* operator new(std::size_t size) {
    return take(size, 1);
}
void* operator new[](std::size_t size) {
    return take(size, 1);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return take(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return take(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}

namespace fixture {

FailingRequest::FailingRequest(std::uint64_t number, Requests counted) {
    failed = false;
    countsLibrary = counted == Requests::all;
    requestsUntilFailure = number;
}

FailingRequest::~FailingRequest() {
    requestsUntilFailure = 0;
    countsLibrary = false;
}

bool FailingRequest::hasFailed() const {
    return failed;
}

void failRequestsAbove(std::size_t size) {
    largestRequest = size;
}

bool seesLibraryRequests() {
    return IFDSWEEP_FAILING_MALLOC != 0;
}

}  // namespace fixture
