#include "names/known_names.h"

#include <algorithm>
#include <utility>

#include "ifdsweep/entry_sink.h"
#include "ifdsweep/tag_list.h"
#include "names/other_names.h"
#include "names/public_tags.h"

namespace ifdsweep {
namespace {

/// The public tags of a kind of directory go in among the names of its dictionary.
void addPublicTags(std::vector<KnownName>& known, DirectoryKind kind, std::string_view dictionary) {
    const auto isOfAnother = [dictionary](const KnownName& name) {
        return name.dictionary != dictionary;
    };
    const auto first = std::find_if_not(known.begin(), known.end(), isOfAnother);
    const auto last = std::find_if(first, known.end(), isOfAnother);
    std::vector<KnownName> merged(std::make_move_iterator(first), std::make_move_iterator(last));
    for (const PublicTag& tag : publicTags(kind)) {
        merged.push_back({tag.number, tag.name, dictionary, NamedPlace::unknownTag, {}});
    }
    std::sort(merged.begin(), merged.end(), [](const KnownName& left, const KnownName& right) {
        return left.number < right.number;
    });
    known.insert(known.erase(first, last), std::make_move_iterator(merged.begin()),
                 std::make_move_iterator(merged.end()));
}

void addOtherNames(std::vector<KnownName>& known) {
    for (const OtherNames& source : otherNames()) {
        for (const OtherName& row : source.rows) {
            const auto named =
                std::find_if(known.begin(), known.end(), [&row](const KnownName& each) {
                    return each.number == row.number && each.name == row.field;
                });
            if (named != known.end()) {
                named->others.push_back(row.name);
            }
        }
    }
}

}  // namespace

std::vector<KnownName> listKnownNames() {
    std::vector<KnownName> known;
    for (const TagListing& listing : listTags()) {
        known.push_back({listing.id, listing.name, listing.dictionary, NamedPlace::field, {}});
        if (!listing.alias.empty()) {
            known.back().others.push_back(listing.alias);
        }
    }
    addPublicTags(known, DirectoryKind::primary, "TIFF");
    addPublicTags(known, DirectoryKind::gps, "GPS");
    addOtherNames(known);
    return known;
}

std::vector<std::string_view> allNames(const std::vector<KnownName>& known) {
    std::vector<std::string_view> names;
    for (const KnownName& each : known) {
        names.push_back(each.name);
    }
    for (const KnownName& each : known) {
        names.insert(names.end(), each.others.begin(), each.others.end());
    }
    return names;
}

}  // namespace ifdsweep
