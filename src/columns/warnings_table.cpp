#include "columns/layout_tables.h"

namespace ifdsweep {

std::span<const Column> warningsTable() {
    // clang-format off
    static const Column kTable[] = {
        {"file_id", {ItemType::int64}, 1, "Number of the file, the same in all tables that are made together.", "the table"},
        {"file_path", {ItemType::utf8}, 2, "Name of the file as it was found; what is no UTF-8 in it becomes U+FFFD.", "the system"},
        {"container", {ItemType::word}, 3, "Format of the file that carries the TIFF stream, such as png; null for a TIFF file.", "the file"},
        {"stream", {ItemType::word}, 4, "Name of the TIFF stream in that file, such as Exif item 3.", "the file"},
        {"seq", {ItemType::int32}, 5, "Place among the messages of the file, from 0.", "the reading"},
        {"id", {ItemType::word}, 6, "Id of the message.", "the reading"},
        {"severity", {ItemType::word}, 7, "warning or error.", "the reading"},
        {"dir_path", {ItemType::utf8}, 8, "Way to the directory, such as 0/SubIFDs[1]/0.", "the file"},
        {"tag", {ItemType::int32}, 9, "Tag of the entry that it is about.", "the file"},
        {"offset", {ItemType::int64}, 10, "Position that it is about, in bytes from the start of the file, of an embedded stream from that of the stream.", "the file"},
        {"ints", {ItemType::int64, true}, 11, "Its arguments that are numbers.", "the reading"},
        {"texts", {ItemType::utf8, true}, 12, "Its arguments that are texts.", "the reading"},
        {"text", {ItemType::utf8}, 13, "The message in words.", "the reading"},
        {"repeat", {ItemType::int64}, 14, "Null in the row of one message; else how many more of this id the file has, which have no rows.", "the reading"},
    };
    // clang-format on
    return kTable;
}

}  // namespace ifdsweep
