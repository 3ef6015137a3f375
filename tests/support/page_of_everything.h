#pragma once

// A page with every kind of value that a record can hold, several warnings and nested directories,
// and files of every kind that begin in different ways. Values only; any thread.

#include <ostream>

#include "support/tiff_builder.h"

namespace fixture {

[[nodiscard]] inline Directory pageOfEverything() {
    const Directory exif{numbers(33434, kRational, {1, 0}), shorts(37383, {5}),
                         pointer(40965, {{{ascii(1, "R98")}}})};
    return {shorts(256, {40}),
            shorts(258, {8, 8, 8}),
            shorts(259, {1}),
            shorts(262, {2}),
            ascii(271, std::string(3000, 'x')),
            ascii(272, std::string(2, '\0')),
            longs(273, std::vector<std::int64_t>(500, 1)),
            longs(278, {7}),
            shorts(290, {3}),
            shorts(320, {0, 1, 2, 3, 4, 5}),
            shorts(339, {1, 2, 3}),
            numbers(700, kShort, {'<', '>'}),
            numbers(37724, kUndefined, {1, 2, 3}),
            doubles(60000, {1, 2}),
            ascii(60001, "unknown"),
            shorts(60002, {}),
            numbers(60003, kNoType, {1}),
            shorts(60004, {9}),
            pointer(330, {{{ascii(315, "one")}}, {{ascii(315, "two")}, {ascii(315, "three")}}}),
            pointer(34665, {{exif}}),
            pointer(34853, {{{numbers(0, kByte, {2, 3, 0, 0}), pointer(34665, {{exif}})}}})};
}

/// A file of its kind, by name.
struct KindOfFile {
    const char* name;
    TiffFile (*make)();

    friend std::ostream& operator<<(std::ostream& out, const KindOfFile& shown) {
        return out << shown.name;
    }
};

[[nodiscard]] inline TiffBuilder twoPagesOfEverything(Format format) {
    TiffBuilder builder(format);
    builder.add(pageOfEverything()).add(pageOfEverything());
    return builder;
}

/// Bytes that are no TIFF.
[[nodiscard]] inline TiffFile noTiff() {
    TiffFile file;
    file.bytes = Bytes(40, 'x');
    return file;
}

inline constexpr KindOfFile kKindsOfFile[] = {
    {"Classic",
     [] {
         return twoPagesOfEverything({Layout::classic, ByteOrder::little}).build();
     }},
    {"ClassicSwapped",
     [] {
         return twoPagesOfEverything({Layout::classic, ByteOrder::big}).build();
     }},
    {"BigTiff",
     [] {
         return twoPagesOfEverything({Layout::big, ByteOrder::little}).build();
     }},
    {"Jpeg",
     [] {
         return twoPagesOfEverything({Layout::classic, ByteOrder::big}).buildInJpeg();
     }},
    {"NoDirectory",
     [] { return TiffBuilder(Format{}).add(Directory{}.withEntryCount(0)).build(); }},
    {"NoTiff", noTiff},
};

}  // namespace fixture
