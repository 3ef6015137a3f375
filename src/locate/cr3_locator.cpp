#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "locate/boxes.h"
#include "locate/locators.h"

namespace ifdsweep {
namespace {

using namespace std::string_view_literals;

constexpr std::uint32_t kMovie = boxType("moov");
constexpr std::uint32_t kUuid = boxType("uuid");
constexpr std::string_view kMetadataUuid =
    "\x85\xC0\xB6\x87\x82\x0F\x11\xE0\x81\x11\xF4\xCE\x46\x2B\x6A\x48"sv;

/// A box that holds a whole TIFF stream.
struct StreamBox {
    std::string_view name;
    DirectoryKind kind;
};

// In the order of reading. What the third holds is a maker note, by no public dictionary.
// clang-format off
constexpr std::array kStreamBoxes{
    StreamBox{"CMT1", DirectoryKind::primary},
    StreamBox{"CMT2", DirectoryKind::exif},
    StreamBox{"CMT3", DirectoryKind::primary},
    StreamBox{"CMT4", DirectoryKind::gps},
};
// clang-format on

class Cr3Search {
public:
    explicit Cr3Search(ByteReader& byteReader) : reader(byteReader) {}

    [[nodiscard]] Located search(SearchDepth depth);

private:
    /// Calls a function for each box, until it returns false.
    template <class Visit>
    void forEachBox(std::uint64_t begin, std::uint64_t end, Visit&& visit);
    void searchMovie(const Box& movie);
    void noteStream(const Box& box);

    ByteReader& reader;
    Located located{};
    std::array<std::optional<Extent>, kStreamBoxes.size()> found{};
};

template <class Visit>
void Cr3Search::forEachBox(std::uint64_t begin, std::uint64_t end, Visit&& visit) {
    Boxes boxes(reader, begin, end);
    bool goesOn = true;
    while (goesOn) {
        const auto box = boxes.next();
        if (!box) {
            break;
        }
        ++located.pieceCount;
        goesOn = visit(*box);
        located.endedAt = box->end;
    }
    located.damage(boxes.damagedAt());
}

Located Cr3Search::search(SearchDepth depth) {
    bool isFound = false;
    forEachBox(0, reader.size(), [&](const Box& box) {
        if (box.type == kMovie) {
            searchMovie(box);
            isFound = std::any_of(found.begin(), found.end(),
                                  [](const auto& extent) { return extent.has_value(); });
        }
        return !isFound || depth == SearchDepth::all;  // images stand behind the movie
    });
    for (std::size_t index = 0; index < found.size(); ++index) {
        if (found[index]) {
            located.add({.name = std::string(kStreamBoxes[index].name),
                         .extents = {*found[index]},
                         .kind = kStreamBoxes[index].kind});
        }
    }
    return std::move(located);
}

void Cr3Search::searchMovie(const Box& movie) {
    forEachBox(movie.content, movie.end, [&](const Box& box) {
        const bool isMetadata = box.type == kUuid && box.contentSize() >= kMetadataUuid.size() &&
                                reader.standsAt(box.content, kMetadataUuid);
        if (isMetadata) {
            forEachBox(box.content + kMetadataUuid.size(), box.end, [&](const Box& inner) {
                noteStream(inner);
                return true;
            });
        }
        return true;
    });
}

/// Takes note of the first box of each name.
void Cr3Search::noteStream(const Box& box) {
    for (std::size_t index = 0; index < found.size(); ++index) {
        if (box.type != boxType(kStreamBoxes[index].name) || found[index]) {
            continue;
        }
        if (box.contentSize() == 0) {
            located.damage(box.position);
        } else {
            found[index] = Extent{box.content, box.contentSize()};
        }
    }
}

}  // namespace

Located locateInCr3(ByteReader& reader, SearchDepth depth) {
    return Cr3Search(reader).search(depth);
}

}  // namespace ifdsweep
