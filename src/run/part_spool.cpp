#include "run/part_spool.h"

#include <algorithm>
#include <cassert>

#include <sys/statvfs.h>
#include <unistd.h>

#include "io/run_failure.h"

namespace ifdsweep {

bool PartSpool::isOpen() {
    if (!file.isOpen()) {
        try {
            file = makeTemporaryFile();
        } catch (const RunFailure&) {
            return false;
        }
        struct statvfs space {};
        if (::fstatvfs(file.get(), &space) == 0) {
            most = std::min<std::uint64_t>(most, space.f_bavail * space.f_frsize / 2);
        }
    }
    return true;
}

std::optional<PartSpool::Place> PartSpool::keep(const FilePart& part) {
    const std::uint64_t size = part.size();
    if (isFull || !isOpen() || size > most || end > most - size) {
        isFull = true;
        return {};
    }
    try {
        FileDescriptorSink sink(file.get());
        Output output(sink);
        part.writeTo(output);
        output.flush();
    } catch (const OutputError&) {
        // The next one begins where this one would have.
        static_cast<void>(::lseek(file.get(), static_cast<off_t>(end), SEEK_SET));
        isFull = true;
        return {};
    }
    const Place place{end, size};
    end += size;
    kept += size;
    return place;
}

void PartSpool::write(const Place& place, Output& output) const {
    appendPiece(file.get(), place.position, place.size, output);
}

void PartSpool::release(const Place& place) {
    assert(place.size <= kept);
    kept -= place.size;
    if (kept == 0) {
        clear();
    }
}

void PartSpool::clear() {
    end = 0;
    isFull = ::ftruncate(file.get(), 0) != 0 || ::lseek(file.get(), 0, SEEK_SET) != 0;
}

}  // namespace ifdsweep
