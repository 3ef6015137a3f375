#include "read/tag_filter.h"

#include <array>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>

#include "ifdsweep/tag_list.h"
#include "read/directory_path.h"

namespace ifdsweep {
namespace {

/// Fields that are made of other tags than the one of their name, if any has it.
struct DerivedField {
    std::string_view name;
    std::array<std::uint16_t, 2> tags;
};

constexpr std::uint16_t kBitsPerSample = 258;
constexpr std::uint16_t kPhotometricInterpretation = 262;
constexpr std::uint16_t kSamplesPerPixel = 277;

// clang-format off
constexpr std::array kDerivedFields{
    DerivedField{"BitDepth",       {kBitsPerSample, kSamplesPerPixel}},
    DerivedField{"ColorType",      {kPhotometricInterpretation, kPhotometricInterpretation}},
    DerivedField{"BitsPerSample",  {kBitsPerSample, kSamplesPerPixel}},
    DerivedField{"MinSampleValue", {kBitsPerSample, kSamplesPerPixel}},
    DerivedField{"MaxSampleValue", {kBitsPerSample, kSamplesPerPixel}},
};
// clang-format on

constexpr std::array kAllKinds{DirectoryKind::primary, DirectoryKind::exif, DirectoryKind::gps,
                               DirectoryKind::interoperability};

/// The kinds of directories whose tags a dictionary names.
std::span<const DirectoryKind> kindsNamedBy(std::string_view dictionary) {
    const std::span<const DirectoryKind> kinds(kAllKinds);
    return dictionary == "TIFF"               ? kinds.first(2)
           : dictionary == "GPS"              ? kinds.subspan(2, 1)
           : dictionary == "Interoperability" ? kinds.subspan(3, 1)
                                              : kinds.first(0);
}

void askForNamed(TagFilter& filter, const std::vector<TagListing>& listings,
                 std::string_view name) {
    for (const TagListing& listing : listings) {
        if (listing.id && listing.name == name) {
            for (const DirectoryKind kind : kindsNamedBy(listing.dictionary)) {
                filter.ask(kind, *listing.id);
            }
        }
    }
    for (const DerivedField& field : kDerivedFields) {
        if (field.name == name) {
            for (const std::uint16_t tag : field.tags) {
                filter.ask(DirectoryKind::primary, tag);
            }
        }
    }
}

/// Asks for what no dictionary of the kind names.
void askForUnnamed(TagFilter& filter, const std::vector<TagListing>& listings) {
    TagFilter named;
    for (const TagListing& listing : listings) {
        for (const DirectoryKind kind : kindsNamedBy(listing.dictionary)) {
            named.ask(kind, *listing.id);  // those of the record alone have no kind
        }
    }
    for (const DirectoryKind kind : kAllKinds) {
        for (unsigned tag = 0; tag <= std::numeric_limits<std::uint16_t>::max(); ++tag) {
            if (!named.asksFor(kind, static_cast<std::uint16_t>(tag))) {
                filter.ask(kind, static_cast<std::uint16_t>(tag));
            }
        }
    }
}

}  // namespace

TagFilter tagFilter(const std::vector<ChosenField>& fields) {
    const std::vector<TagListing> listings = listTags();
    TagFilter filter;
    for (const ChosenField& field : fields) {
        if (field.unknownId) {
            for (const DirectoryKind kind : kAllKinds) {
                if (canOccurIn(kind, field)) {
                    filter.ask(kind, *field.unknownId);
                }
            }
        } else if (field.name == kUnknownTags) {
            askForUnnamed(filter, listings);
        } else {
            askForNamed(filter, listings, field.name);
        }
    }
    return filter;
}

}  // namespace ifdsweep
