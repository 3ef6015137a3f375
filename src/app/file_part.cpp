#include "app/file_part.h"

#include <algorithm>
#include <cerrno>

namespace app {

void FilePart::writeTo(Output& output) const {
    if (!spill.isOpen()) {
        output.append(bytes);
        return;
    }
    constexpr std::uint64_t kPiece = std::uint64_t{1} << 18;
    for (std::uint64_t position = 0; position < spillSize;) {
        const std::string piece =
            readPiece(spill.get(), position, std::min(kPiece, spillSize - position));
        if (piece.empty()) {
            throw OutputError(EIO);
        }
        output.append(piece);
        position += piece.size();
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

}  // namespace app
