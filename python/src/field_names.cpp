#include "field_names.h"

#include <algorithm>
#include <vector>

#include "ifdsweep/tag_list.h"
#include "names/known_names.h"
#include "text/nearest_names.h"

namespace ifdsweep::python {
namespace {

/// One of the names of a field or a public tag.
struct Name {
    std::string_view text;
    const KnownName* known;
};

bool precedes(const Name& name, std::string_view text) {
    return name.text < text;
}

/// All names in the order of their bytes. Made once and never changed.
class Names {
public:
    Names() {
        for (const KnownName& each : known) {
            names.push_back({each.name, &each});
            for (const std::string_view other : each.others) {
                names.push_back({other, &each});
            }
        }
        // Where a field and a tag of another dictionary share a name, they stay in the list's
        // order.
        std::stable_sort(names.begin(), names.end(), [](const Name& one, const Name& other) {
            return precedes(one, other.text);
        });
    }

    /// The first of a name that something is true of; null where there is none.
    template <class Predicate>
    [[nodiscard]] const KnownName* find(std::string_view text, Predicate&& predicate) const {
        for (auto name = std::lower_bound(names.begin(), names.end(), text, precedes);
             name != names.end() && name->text == text; ++name) {
            if (predicate(*name->known)) {
                return name->known;
            }
        }
        return nullptr;
    }

    [[nodiscard]] std::string nearest(std::string_view text) const {
        return nearestNames(text, allNames(known));
    }

private:
    const std::vector<KnownName> known = listKnownNames();
    std::vector<Name> names;
};

const Names& allKnown() {
    static const Names kNames;
    return kNames;
}

/// The dictionary that names the tags of a kind of directory.
std::string_view dictionaryOf(DirectoryKind kind) {
    switch (kind) {
        case DirectoryKind::gps:
            return "GPS";
        case DirectoryKind::interoperability:
            return "Interoperability";
        default:
            return "TIFF";
    }
}

}  // namespace

std::optional<std::uint16_t> tagNamed(DirectoryKind kind, std::string_view name) {
    const KnownName* known = allKnown().find(
        name, [kind](const KnownName& each) { return each.dictionary == dictionaryOf(kind); });
    return known == nullptr ? std::nullopt : known->number;
}

std::string_view aliasOf(std::string_view field) {
    static const std::vector<TagListing> kRenamed = [] {
        std::vector<TagListing> listings = listTags();
        const auto isSame = [](const TagListing& listing) { return listing.alias.empty(); };
        listings.erase(std::remove_if(listings.begin(), listings.end(), isSame), listings.end());
        return listings;
    }();
    const auto renamed =
        std::find_if(kRenamed.begin(), kRenamed.end(),
                     [field](const TagListing& listing) { return listing.name == field; });
    return renamed == kRenamed.end() ? std::string_view() : renamed->alias;
}

std::string complaintAboutField(std::string_view name) {
    const KnownName* known = allKnown().find(name, [](const KnownName&) { return true; });
    const bool isOfField = known != nullptr && known->place == NamedPlace::field;
    if (isOfField && known->name == name) {
        return "";
    }
    std::string complaint = "no field is named " + (name.empty() ? "\"\"" : std::string(name));
    if (isOfField) {
        return complaint + ", the field is " + std::string(known->name);
    }
    const std::string nearest = known == nullptr ? allKnown().nearest(name) : "";
    return complaint + (known != nullptr  ? ", the tag is one of the unknown ones"
                        : nearest.empty() ? ""
                                          : ", nearest: " + nearest);
}

}  // namespace ifdsweep::python
