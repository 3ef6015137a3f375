#include "gateway/tag_list.h"

#include <algorithm>

#include "dict/default_fields.h"
#include "dict/tag_names.h"

namespace {

void appendDictionary(std::vector<TagListing>& listings, const TextMap& names,
                      std::string_view dictionary) {
    for (std::size_t row = 0; row < names.size(); ++row) {
        listings.push_back({names.keyAt(row), names.valueAt(row), dictionary});
    }
}

bool isTag(std::string_view name) {
    for (std::size_t row = 0; row < primaryMap.size(); ++row) {
        if (primaryMap.valueAt(row) == name) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::vector<TagListing> listTags() {
    std::vector<TagListing> listings;
    for (const std::string_view name : kDefaultFieldNames) {
        if (!isTag(name)) {
            listings.push_back({std::nullopt, name, "record"});
        }
    }
    listings.push_back({std::nullopt, "UnknownTags", "record"});
    appendDictionary(listings, primaryMap, "TIFF");
    appendDictionary(listings, GPSmap, "GPS");
    appendDictionary(listings, interopMap, "Interoperability");
    return listings;
}
