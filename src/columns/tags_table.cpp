#include "columns/layout_tables.h"

namespace ifdsweep {

std::span<const Column> tagsTable() {
    // clang-format off
    static const Column kTable[] = {
        {"file_id", {ItemType::int64}, 1, "Number of the file, the same in all tables that are made together.", "the table"},
        {"file_path", {ItemType::utf8}, 2, "Name of the file as it was found; what is no UTF-8 in it becomes U+FFFD.", "the system"},
        {"container", {ItemType::word}, 3, "Format of the file that carries the TIFF stream, such as png; null for a TIFF file.", "the file"},
        {"stream", {ItemType::word}, 4, "Name of the TIFF stream in that file, such as Exif item 3.", "the file"},
        {"dir_path", {ItemType::utf8}, 5, "Way to the directory, such as 0/SubIFDs[1]/0.", "the file"},
        {"dir_kind", {ItemType::word}, 6, "Kind of the directory: primary, exif, gps or interoperability.", "the file"},
        {"ordinal", {ItemType::int32}, 7, "Place of the entry in its directory, from 0; the defaults come last.", "the file"},
        {"tag", {ItemType::int32}, 8, "Number of the tag.", "the file"},
        {"name", {ItemType::word}, 9, "Name of the tag in records; null for one that has none.", "the dictionaries"},
        {"public_name", {ItemType::word}, 10, "Name of a tag that records leave without one.", "public lists of tags"},
        {"type", {ItemType::int32}, 11, "Code of the field type; null for a default.", "TIFF 6.0, BigTIFF"},
        {"type_name", {ItemType::word}, 12, "Name of the field type, such as SHORT; null for an unknown one.", "TIFF 6.0, BigTIFF"},
        {"count", {ItemType::int64}, 13, "Number of values as the file says.", "the file"},
        {"entry_offset", {ItemType::int64}, 14, "Position of the entry, in bytes from the start of the file, of an embedded stream from that of the stream.", "the file"},
        {"value_offset", {ItemType::int64}, 15, "Position of the value; null where it lies in the entry.", "the file"},
        {"ints", {ItemType::int64, true}, 16, "The value of an integer type.", "the file"},
        {"floats", {ItemType::float64, true}, 17, "The value of FLOAT and DOUBLE, and of a default.", "the file"},
        {"rationals", {ItemType::rational, true}, 18, "The value of RATIONAL and SRATIONAL, exact.", "the file"},
        {"text", {ItemType::utf8}, 19, "The value of ASCII and UTF-8, without the NUL at its end; of integers that do not fit, their digits between spaces.", "the file"},
        {"bytes", {ItemType::binary}, 20, "The value of UNDEFINED, and of a text that is no UTF-8.", "the file"},
        {"first_number", {ItemType::float64}, 21, "The first number of the value; null where a denominator is 0.", "the file"},
        {"value_name", {ItemType::word}, 22, "Readable name of an enumerated value.", "the dictionaries"},
        {"stored", {ItemType::boolean}, 23, "Whether it is in the file; else it is the default of a field.", "the file"},
        {"loaded", {ItemType::boolean}, 24, "Whether the value was read and is in this row; else it is too long, or was dropped before.", "the reading"},
        {"warning_id", {ItemType::word}, 25, "Id of the warning by which the entry was dropped from the records.", "the reading"},
        {"stream_offset", {ItemType::int64}, 26, "Position of the TIFF header in the file, from which the positions that values of the stream hold are counted; 0 for a TIFF file, and of an embedded stream its place in the stream.", "the file"},
    };
    // clang-format on
    return kTable;
}

}  // namespace ifdsweep
