#include "columns/directory_paths.h"

#include "ifdsweep/entry_sink.h"
#include "read/place_recorder.h"

namespace ifdsweep {

std::string directoryPath(const PackedFile& file, const PackedDirectoryRow& directory) {
    std::string path = directory.parent != kNoRow
                           ? directoryPath(file, file.directories()[directory.parent])
                           : std::string();
    appendStep({.kind = static_cast<DirectoryKind>(directory.kind),
                .parent = nullptr,
                .pointerTag = directory.pointerTag,
                .pointerName = file.name(directory.pointerName),
                .chainIndex = directory.chainIndex,
                .index = directory.index,
                .position = directory.position,
                .entryCount = directory.entryCount},
               path);
    return path;
}

}  // namespace ifdsweep
