#include "workers/file_part.h"

#include <algorithm>
#include <cerrno>

namespace ifdsweep {

void appendPiece(int file, std::uint64_t position, std::uint64_t size, Output& output) {
    constexpr std::uint64_t kMost = std::uint64_t{1} << 18;
    while (size > 0) {
        const std::string piece = readPiece(file, position, std::min(kMost, size));
        if (piece.empty()) {
            throw OutputError(EIO);
        }
        output.append(piece);
        position += piece.size();
        size -= piece.size();
    }
}

void FilePart::writeTo(Output& output) const {
    if (spill.isOpen()) {
        appendPiece(spill.get(), 0, spillSize, output);
    } else {
        output.append(bytes);
    }
}

void FilePartSink::write(std::string_view bytes) {
    if (!part.spill.isOpen()) {
        if (bytes.size() <= FilePart::kMostInMemory - part.bytes.size()) {
            part.bytes.append(bytes);
            return;
        }
        part.spill = makeTemporaryFile();
        FileDescriptorSink(part.spill.get()).write(part.bytes);
        part.spillSize = part.bytes.size();
        part.bytes.clear();
    }
    FileDescriptorSink(part.spill.get()).write(bytes);
    part.spillSize += bytes.size();
}

}  // namespace ifdsweep
