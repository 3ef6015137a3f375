#include "hostile/counted_reads.h"

#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace fixture {
namespace {

CountedReads& counters() {
    static CountedReads counted;
    return counted;
}

}  // namespace

CountedReads countedReads() {
    return counters();
}

}  // namespace fixture

extern "C" ssize_t pread64(int file, void* target, size_t length, off64_t position) {
    const ssize_t got = ::syscall(SYS_pread64, file, target, length, position);
    fixture::CountedReads& counted = fixture::counters();
    ++counted.calls;
    counted.bytes += got > 0 ? static_cast<std::uint64_t>(got) : 0;
    return got;
}

extern "C" ssize_t pread(int file, void* target, size_t length, off_t position) {
    return ::pread64(file, target, length, position);
}
