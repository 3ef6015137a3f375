#pragma once

// Containers: the formats that carry a TIFF stream in something else, each with its signature, its
// words and its locator, in one table. To add one: a row in containers.cpp, a locator in a file of
// its own, declared in locators.h.
//
// Ownership: constant data. Threads: any.

#include <cstddef>
#include <string_view>

#include "ifdsweep/qx.h"
#include "locate/byte_reader.h"
#include "locate/located.h"

namespace ifdsweep {

/// Looks for the TIFF streams of a file that begins as its container. Reads no pixel, takes memory
/// for the streams alone, and ends on any input within a number of reads that is in proportion to
/// the pieces that it passes. It never throws but std::bad_alloc.
using Locator = Located (*)(ByteReader& reader, SearchDepth depth);

struct Container {
    std::string_view name;     ///< in output: "heif"
    const char* format;        ///< "Format" of its records: "heif"
    std::string_view words;    ///< for people: "a HEIF image"
    std::string_view noun;     ///< "HEIF file"
    std::string_view sought;   ///< what a stream lies in: "Exif item"
    std::string_view piece;    ///< what the file is made of, and what may be damaged: "box"
    std::string_view passed;   ///< what is counted on the way (`Located::pieceCount`): "item"
    std::string_view several;  ///< of these: "items"
    Locator locate;
    /// The same for a reading by the contract, which finds one stream alone; null: it takes the
    /// file for no container.
    Locator locateByContract;
    /// The error of a file in which a search found no stream.
    qxMessage (*noStream)(const Container& container, const Located& located);
};

/// The most first bytes that tell a container.
inline constexpr std::size_t kLongestContainerSignature = 32;

/// The container that a file is which begins with these bytes; null for none.
[[nodiscard]] const Container* containerOf(std::string_view firstBytes);

/// Whether a file that begins with these bytes is a container, or could be one if it were not cut
/// short.
[[nodiscard]] bool mayBeContainer(std::string_view firstBytes);

}  // namespace ifdsweep
