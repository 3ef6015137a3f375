// The PNG locator on any bytes: what it finds lies behind the head of a chunk that may hold it, and
// what it reads is in proportion to the file.

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "fuzz_target.h"
#include "locate/locators.h"
#include "locator_properties.h"

namespace {

using namespace std::string_view_literals;

/// Whether characters stand in front of a position, so many bytes before it at most.
bool standBefore(std::string_view file, std::uint64_t position, std::size_t distance,
                 std::string_view characters) {
    const auto end = static_cast<std::size_t>(position);
    const std::size_t begin = end - std::min(end, distance);
    return file.substr(begin, end - begin).find(characters) != std::string_view::npos;
}

/// Whether a chunk of one of these types begins there.
bool holdsOneOf(std::string_view file, std::uint64_t position, std::size_t distance,
                std::initializer_list<std::string_view> types) {
    return std::any_of(types.begin(), types.end(), [&](std::string_view type) {
        return standBefore(file, position, distance, type);
    });
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string file(data, data + size);
    // A search only goes forward; what the end of a window cuts is read anew.
    using ifdsweep::ByteReader;
    const std::size_t mostReads = size / (ByteReader::kWindow - ByteReader::kLongestText) + 4;
    const ifdsweep::Located located =
        fuzz::checkLocator(ifdsweep::locateInPng, {data, size}, mostReads);
    // Type, keyword, flag and method, two texts.
    constexpr std::size_t kLongestHead = 4 + 22 + 2 + 2 * ByteReader::kLongestText;
    bool isProfile = false;
    for (const auto& stream : located.streams) {
        const ifdsweep::Extent extent = stream.extents.at(0);
        fuzz::require(stream.extents.size() == 1 && extent.size > 0, "it lies in one piece");
        fuzz::require(stream.isRawProfile || !isProfile, "chunks come before profiles");
        isProfile = stream.isRawProfile;
        fuzz::require(
            isProfile ? holdsOneOf(file, extent.position, kLongestHead, {"tEXt", "zTXt", "iTXt"})
                      : holdsOneOf(file, extent.position, 9, {"eXIf", "exIf", "zxIf"}),
            "a stream lies in a chunk of its type");
        fuzz::require(stream.name.starts_with(isProfile ? "Raw profile type " : "eXIf"),
                      "it has the name of its kind");
    }
    return 0;
}
