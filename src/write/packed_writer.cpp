#include "write/packed_writer.h"

#include <utility>

#include "pack/packed_stream.h"

namespace ifdsweep {

EntrySink* PackedWriter::listenerFor(std::string_view /*file*/) {
    packer.begin();
    hasListened = true;
    return &packer;
}

void PackedWriter::writeFile(const Outcome& outcome) {
    if (!std::exchange(hasListened, false)) {
        packer.begin();
    }
    const PackedFile file = packer.pack(outcome);
    const std::span<const std::byte> bytes = file.bytes();
    const PackedSize size = packedSize(bytes.size());
    output.append({size.data(), size.size()});
    output.append({static_cast<const char*>(static_cast<const void*>(bytes.data())), bytes.size()});
}

}  // namespace ifdsweep
