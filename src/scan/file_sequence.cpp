#include "scan/file_sequence.h"

#include <utility>

#include "scan/packing_reader.h"

namespace ifdsweep {

FileSequence::FileSequence(ScanOptions scanOptions)
    : options(std::move(scanOptions)),
      names(options.input, {}),
      read(options.makeReader ? options.makeReader()
                              : inputReader(std::make_shared<PackingReader>(
                                    options.read, options.fields, &isStopped))) {}

std::optional<PackedFile> FileSequence::next() {
    while (!isStopped && !names.isAtEnd()) {
        const std::optional<InputFile> input = names.step();
        if (!input) {
            continue;
        }
        try {
            PackedFile file = read(*input);
            if (file.file().isImage != 0) {
                return file;
            }
        } catch (const ReadingStopped&) {
            break;
        }
    }
    return std::nullopt;
}

}  // namespace ifdsweep
