#pragma once

// Packed writer: the packed file of each file (pack/packed_rows.h), behind its size
// (pack/packed_stream.h). It hears of the entries while the file is read; without that, a packed
// file has the records and messages alone.
//
// Ownership: borrows its output. Threads: one at a time. Errors: OutputError, std::bad_alloc.

#include "pack/file_packer.h"
#include "write/result_writer.h"

namespace ifdsweep {

class PackedWriter final : public ResultWriter {
public:
    using ResultWriter::ResultWriter;

    [[nodiscard]] EntrySink* listenerFor(std::string_view file) override;
    void writeFile(const Outcome& outcome) override;

private:
    FilePacker packer;
    bool hasListened = false;  ///< to the file that is written next
};

}  // namespace ifdsweep
