#include "columns/layout_tables.h"

namespace ifdsweep {

std::span<const Column> filesTable() {
    // clang-format off
    static const Column kTable[] = {
        {"file_id", {ItemType::int64}, 1, "Number of the file, the same in all tables that are made together.", "the table"},
        {"root", {ItemType::int16}, 2, "Number of the folder that the file was found in; null where nobody numbers them.", "the table"},
        {"file_path", {ItemType::utf8}, 3, "Name of the file as it was found; what is no UTF-8 in it becomes U+FFFD.", "the system"},
        {"path_bytes", {ItemType::binary}, 4, "The name in the system's bytes; null where these are UTF-8.", "the system"},
        {"size", {ItemType::int64}, 5, "Bytes of the file.", "the system"},
        {"mtime", {ItemType::instant}, 6, "When the file was last changed.", "the system"},
        {"mtime_ns", {ItemType::int64}, 7, "The same, in nanoseconds since 1970-01-01 00:00:00 UTC.", "the system"},
        {"ctime_ns", {ItemType::int64}, 8, "When the file's status was last changed, in the same unit.", "the system"},
        {"inode", {ItemType::int64}, 9, "Number of the file in its file system; the bits of an unsigned number.", "the system"},
        {"format", {ItemType::word}, 10, "Format of the file as the records say, such as tif.", "the record's field Format"},
        {"layout", {ItemType::word}, 11, "classic or big: TIFF 6.0 or BigTIFF.", "the record's field FormatSignature"},
        {"byte_order", {ItemType::word}, 12, "little-endian or big-endian.", "the record's field ByteOrder"},
        {"container", {ItemType::word}, 13, "Format of the file that carries TIFF streams, such as png; null for a TIFF file.", "the file"},
        {"status", {ItemType::word}, 14, "How the reading ended: ok, warned, error, timeout, memory, crashed or unreadable.", "the reading"},
        {"error_id", {ItemType::word}, 15, "Id of the error; null without one.", "the reading"},
        {"error_args", {ItemType::utf8, true}, 16, "Arguments of the error.", "the reading"},
        {"error_text", {ItemType::utf8}, 17, "The error in words.", "the reading"},
        {"streams", {ItemType::int32}, 18, "TIFF streams that were read.", "the file"},
        {"directories", {ItemType::int32}, 19, "Directories of all kinds that were read.", "the file"},
        {"entries", {ItemType::int64}, 20, "Entries of these.", "the file"},
        {"warnings", {ItemType::int32}, 21, "Warnings of the file.", "the reading"},
        {"warning_ids", {ItemType::utf8, true}, 22, "Their ids, each once, in the order of the first.", "the reading"},
        {"reader", {ItemType::word}, 23, "Version of ifdsweep that read it.", "the reading"},
    };
    // clang-format on
    return kTable;
}

}  // namespace ifdsweep
