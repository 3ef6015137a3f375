// The lists of --tags: fields that can occur, each once, or a complaint; the chosen fields named
// one by one are the same choice.

#include <algorithm>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz_input.h"
#include "fuzz_target.h"
#include "ifdsweep/tag_list.h"
#include "names/public_tags.h"
#include "read/tag_choice.h"

namespace {

/// The public name of a tag in a kind of directory that has one; 31 is none but in GPS directories.
std::string_view publicName(std::uint16_t tag) {
    const std::string_view name = ifdsweep::publicTagName(ifdsweep::DirectoryKind::primary, tag);
    return name.empty() ? ifdsweep::publicTagName(ifdsweep::DirectoryKind::gps, tag) : name;
}

bool isReal(const ifdsweep::ChosenField& field) {
    static const std::vector<ifdsweep::TagListing> kListings = ifdsweep::listTags();
    return std::any_of(
        kListings.begin(), kListings.end(), [&field](const ifdsweep::TagListing& listing) {
            return field.unknownId ? listing.id == field.unknownId : listing.name == field.name;
        });
}

std::vector<std::string> namesOf(const ifdsweep::TagChoice& choice) {
    std::vector<std::string> names;
    for (const ifdsweep::ChosenField& field : choice.fields) {
        names.push_back(field.name);
    }
    return names;
}

std::string joined(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names) {
        list.append(list.empty() ? "" : ",").append(name);
    }
    return list;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input(std::span(data, size));
    const auto rest = input.rest();
    const std::string list(rest.begin(), rest.end());
    const ifdsweep::TagChoice choice = ifdsweep::chooseTags(list);
    for (const ifdsweep::ChosenField& field : choice.fields) {
        fuzz::require(isReal(field) != field.unknownId.has_value(),
                      "a field has a name that there is, or a number that has none");
        fuzz::require(!field.unknownId || field.name == std::to_string(*field.unknownId) ||
                          field.name == publicName(*field.unknownId),
                      "an unknown tag is named by its number or its public name");
    }
    const std::vector<std::string> names = namesOf(choice);
    fuzz::require(std::set<std::string>(names.begin(), names.end()).size() == names.size(),
                  "a field is chosen once");
    if (!choice.complaint.empty()) {
        return 0;
    }
    fuzz::require(!names.empty(), "a list chooses a field");
    const ifdsweep::TagChoice again = ifdsweep::chooseTags(joined(names));
    fuzz::require(again.complaint.empty() && namesOf(again) == names,
                  "the fields named one by one are the same choice");
    return 0;
}
