// File names between the system's bytes and UTF-16: every byte string comes back, whatever it is.

#include <string>

#include "files/file_names.h"
#include "fuzz_input.h"
#include "fuzz_target.h"

namespace {

bool isHigh(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLow(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// Surrogates in pairs alone: text that UTF-8 can hold.
bool isText(const std::u16string& units) {
    for (std::size_t at = 0; at < units.size(); ++at) {
        if (isHigh(units[at]) && at + 1 < units.size() && isLow(units[at + 1])) {
            ++at;
        } else if (isHigh(units[at]) || isLow(units[at])) {
            return false;
        }
    }
    return true;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input(std::span(data, size));
    const bool isUnits = input.below(2) == 1;
    if (isUnits) {
        std::u16string name;
        while (!input.empty()) {
            name += static_cast<char16_t>(input.word(2));
        }
        const std::string bytes = ifdsweep::fileNameToSystem(name);
        fuzz::require(!isText(name) || ifdsweep::fileNameFromSystem(bytes) == name,
                      "a name that is text comes back");
        fuzz::require(ifdsweep::fileNameToSystem(ifdsweep::fileNameFromSystem(bytes)) == bytes,
                      "the bytes of a name come back");
        return 0;
    }
    const auto rest = input.rest();
    const std::string bytes(rest.begin(), rest.end());
    const std::u16string name = ifdsweep::fileNameFromSystem(bytes);
    fuzz::require(ifdsweep::fileNameToSystem(name) == bytes, "every byte string comes back");
    for (std::size_t at = 0; at < name.size(); ++at) {
        fuzz::require(!isHigh(name[at]) || (at + 1 < name.size() && isLow(name[at + 1])),
                      "no lone high surrogate is made");
    }
    return 0;
}
