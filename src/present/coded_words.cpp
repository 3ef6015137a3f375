#include "present/coded_words.h"

#include <algorithm>
#include <array>

#include "text/number_output.h"

namespace ifdsweep {
namespace {

/// Appends words between commas, leaving out those that are empty.
class WordList {
public:
    explicit WordList(Output& output) : destination(output) {}

    void add(std::string_view words) {
        if (!words.empty()) {
            destination.append(isFirst ? "" : ", ");
            destination.append(words);
            isFirst = false;
        }
    }

private:
    Output& destination;
    bool isFirst = true;
};

void appendCode(Output& output, std::uint32_t code) {
    appendInteger(output, code);
    output.append(" (");
}

}  // namespace

std::string_view wordsOf(std::uint32_t code, std::span<const CodeWords> codes) {
    const auto found = std::find_if(codes.begin(), codes.end(),
                                    [code](const CodeWords& row) { return row.code == code; });
    return found == codes.end() ? std::string_view() : found->words;
}

bool presentCodes(Output& output, const PresentedField& field, const PresenterParameter& words) {
    const std::span<const double> numbers = field.value.doubles();
    const auto wordsOfNumber = [&words](double number) {
        const auto code = codeOf(number);
        return code ? wordsOf(*code, words.codes) : std::string_view();
    };
    const bool areKnown = std::all_of(numbers.begin(), numbers.end(), [&](double number) {
        return !wordsOfNumber(number).empty();
    });
    if (numbers.empty() || numbers.size() > field.limits.elements || !areKnown) {
        return false;
    }
    for (const double number : numbers) {
        appendRounded(output, number, 0);
        output.append(' ');
    }
    output.append('(');
    WordList list(output);
    for (const double number : numbers) {
        list.add(wordsOfNumber(number));
    }
    output.append(')');
    return true;
}

bool presentBits(Output& output, const PresentedField& field, const PresenterParameter& words) {
    const auto code = codeOf(field.value);
    std::uint32_t knownBits = 0;
    for (const CodeWords& row : words.codes) {
        knownBits |= row.code;
    }
    if (!code || (*code & ~knownBits) != 0) {
        return false;
    }
    appendCode(output, *code);
    WordList list(output);
    for (const CodeWords& row : words.codes) {
        if (*code == 0 ? row.code == 0 : (*code & row.code) != 0) {
            list.add(row.words);
        }
    }
    output.append(')');
    return true;
}

bool presentTextCode(Output& output, const PresentedField& field, const PresenterParameter& words) {
    const auto found =
        std::find_if(words.texts.begin(), words.texts.end(),
                     [&field](const TextWords& row) { return isText(&field.value, row.text); });
    if (found == words.texts.end()) {
        return false;
    }
    output.append(found->text);
    appendWordsBeside(output, found->words);
    return true;
}

bool presentFlash(Output& output, const PresentedField& field, const PresenterParameter&) {
    // Exif 2.32 (CIPA DC-008-2019), 4.6.5 Flash: bit 0 whether it fired, bits 1 and 2 the light
    // that returned, bits 3 and 4 the mode, bit 5 whether there is no flash, bit 6 red-eye
    // reduction.
    constexpr std::array<std::string_view, 4> kReturned{"", "reserved", "return light not detected",
                                                        "return light detected"};
    constexpr std::array<std::string_view, 4> kMode{"", "compulsory", "suppressed", "auto mode"};
    constexpr std::uint32_t kBits = 0x7F;
    const auto code = codeOf(field.value);
    if (!code || *code > kBits) {
        return false;
    }
    appendCode(output, *code);
    WordList list(output);
    list.add((*code & 0x01U) != 0 ? "fired" : "did not fire");
    list.add(kReturned[*code >> 1U & 0x3U]);
    list.add(kMode[*code >> 3U & 0x3U]);
    list.add((*code & 0x20U) != 0 ? "no flash function" : "");
    list.add((*code & 0x40U) != 0 ? "red-eye reduction" : "");
    output.append(')');
    return true;
}

}  // namespace ifdsweep
