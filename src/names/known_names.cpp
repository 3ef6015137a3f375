#include "names/known_names.h"

#include <algorithm>
#include <cstddef>
#include <span>

#include "ifdsweep/entry_sink.h"
#include "ifdsweep/tag_list.h"
#include "names/other_names.h"
#include "names/public_tags.h"

namespace ifdsweep {
namespace {

/// The public tags of the directories whose tags a dictionary names.
std::span<const PublicTag> publicTagsBeside(std::string_view dictionary) {
    return dictionary == "TIFF"  ? publicTags(DirectoryKind::primary)
           : dictionary == "GPS" ? publicTags(DirectoryKind::gps)
                                 : std::span<const PublicTag>();
}

/// Adds the other names to the names of one dictionary.
void addOtherNames(std::span<KnownName> ofDictionary) {
    for (const OtherNames& source : otherNames()) {
        for (const OtherName& row : source.rows) {
            const auto named = std::lower_bound(
                ofDictionary.begin(), ofDictionary.end(), row.number,
                [](const KnownName& each, std::uint16_t wanted) { return each.number < wanted; });
            if (named != ofDictionary.end() && named->number == row.number &&
                named->name == row.field) {
                named->others.push_back(row.name);
            }
        }
    }
}

/// Adds the tags of one dictionary with all their names, the public tags at their places among
/// them.
void addDictionary(std::vector<KnownName>& known, std::span<const TagListing> listings) {
    const std::string_view dictionary = listings.front().dictionary;
    std::span<const PublicTag> tags = publicTagsBeside(dictionary);
    const std::size_t first = known.size();
    const auto addTag = [&] {
        known.push_back(
            {tags.front().number, tags.front().name, dictionary, NamedPlace::unknownTag, {}});
        tags = tags.subspan(1);
    };
    for (const TagListing& listing : listings) {
        while (!tags.empty() && tags.front().number < listing.id) {
            addTag();
        }
        known.push_back({listing.id, listing.name, dictionary, NamedPlace::field, {}});
        if (!listing.alias.empty()) {
            known.back().others.push_back(listing.alias);
        }
    }
    while (!tags.empty()) {
        addTag();
    }
    addOtherNames(std::span(known).subspan(first));
}

}  // namespace

std::vector<KnownName> listKnownNames() {
    const std::vector<TagListing> listings = listTags();
    std::vector<KnownName> known;
    known.reserve(listings.size() + publicTags(DirectoryKind::primary).size() +
                  publicTags(DirectoryKind::gps).size());
    for (auto first = listings.begin(); first != listings.end();) {
        const auto last = std::find_if(first, listings.end(), [first](const TagListing& listing) {
            return listing.dictionary != first->dictionary;
        });
        addDictionary(known, {first, last});
        first = last;
    }
    return known;
}

std::vector<std::string_view> allNames(const std::vector<KnownName>& known) {
    std::vector<std::string_view> names;
    names.reserve(2 * known.size());
    for (const KnownName& each : known) {
        names.push_back(each.name);
    }
    for (const KnownName& each : known) {
        names.insert(names.end(), each.others.begin(), each.others.end());
    }
    return names;
}

}  // namespace ifdsweep
