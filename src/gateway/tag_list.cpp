#include "ifdsweep/tag_list.h"

#include <algorithm>
#include <utility>

#include "dict/default_fields.h"
#include "dict/tag_names.h"
#include "tag/special_tags.h"

namespace ifdsweep {

namespace {

void appendDictionary(std::vector<TagListing>& listings, const module::TextMap& names,
                      std::string_view dictionary) {
    for (std::size_t row = 0; row < names.size(); ++row) {
        listings.push_back({names.keyAt(row), names.valueAt(row), dictionary, {}});
    }
}

std::vector<TagListing> listPrimaryTags() {
    std::vector<TagListing> listings;
    listings.reserve(module::primaryMap.size());
    appendDictionary(listings, module::primaryMap, "TIFF");
    for (TagListing& listing : listings) {
        // No directory keeps this tag: what it says is the height of the record.
        if (listing.id == module::kImageLength) {
            listing.alias = std::exchange(listing.name, "Height");
        }
    }
    return listings;
}

}  // namespace

std::vector<TagListing> listTags() {
    const std::vector<TagListing> tags = listPrimaryTags();
    std::vector<TagListing> listings;
    listings.reserve(module::kDefaultFieldNames.size() + 1 + tags.size() + module::GPSmap.size() +
                     module::interopMap.size());
    for (const std::string_view name : module::kDefaultFieldNames) {
        if (std::none_of(tags.begin(), tags.end(),
                         [name](const TagListing& tag) { return tag.name == name; })) {
            listings.push_back({std::nullopt, name, "record", {}});
        }
    }
    listings.push_back({std::nullopt, "UnknownTags", "record", {}});
    listings.insert(listings.end(), tags.begin(), tags.end());
    appendDictionary(listings, module::GPSmap, "GPS");
    appendDictionary(listings, module::interopMap, "Interoperability");
    return listings;
}

}  // namespace ifdsweep
