// The presenters on arbitrary values, and on values near to those that they are made for: each
// shows something that is safe on a terminal, or nothing at all and says so.

#include <array>
#include <string>
#include <vector>

#include "arbitrary_outcome.h"
#include "fuzz_target.h"
#include "ifdsweep/qx.h"
#include "present/present.h"
#include "written_output.h"

namespace {

using fuzz::FuzzInput;
using Dimensions = std::array<std::size_t, 2>;

/// Fractions, as rationals are read, and bytes.
ifdsweep::ValueHandle numbersOf(FuzzInput& input, bool areBytes) {
    const Dimensions size{1, input.below(areBytes ? 64 : 6)};
    ifdsweep::ValueHandle value(qxCreateNumericArray(2, size.data(), qxDOUBLE_CLASS, qxREAL));
    double* const numbers = qxGetDoubles(value.get());
    for (std::size_t index = 0; index < size[1]; ++index) {
        const auto numerator = static_cast<double>(input.word(areBytes ? 1 : 4));
        numbers[index] = areBytes ? numerator : numerator / static_cast<double>(input.word(2));
    }
    return value;
}

/// A text behind the code that says how it is encoded.
ifdsweep::ValueHandle encodedText(FuzzInput& input) {
    constexpr std::array<std::string_view, 3> kCodes{
        {{"ASCII\0\0\0", 8}, {"UNICODE\0", 8}, {"\0\0\0\0\0\0\0\0", 8}}};
    std::string bytes(kCodes[input.below(kCodes.size())]);
    const auto text = input.piece(input.below(128));
    bytes.append(text.begin(), text.end());
    const Dimensions size{1, bytes.size()};
    ifdsweep::ValueHandle value(qxCreateNumericArray(2, size.data(), qxDOUBLE_CLASS, qxREAL));
    double* number = qxGetDoubles(value.get());
    for (const char byte : bytes) {
        *number++ = static_cast<unsigned char>(byte);
    }
    return value;
}

/// The fields beside it that say how a field is meant.
ifdsweep::ValueHandle siblings(ifdsweep::Host& host, FuzzInput& input) {
    constexpr std::array kNames{"Format",          "ResolutionUnit", "FocalPlaneResolutionUnit",
                                "GPSLatitudeRef",  "GPSSpeedRef",    "GPSAltitudeRef",
                                "GPSLongitudeRef", "GPSTrackRef",    "Length"};
    constexpr std::array<std::u16string_view, 8> kTexts{u"jpg", u"Inch", u"N", u"S",
                                                        u"W",   u"K",    u"T", u""};
    const Dimensions size{1, 1};
    ifdsweep::ValueHandle records(
        qxCreateStructArray(2, size.data(), kNames.size(), kNames.data()));
    for (const char* const name : kNames) {
        const std::size_t choice = input.below(16);
        ifdsweep::ValueHandle value;
        if (choice < kTexts.size()) {
            value.reset(qxCreateUString(kTexts[choice].data(), kTexts[choice].size()));
        } else if (choice < 12) {
            value.reset(qxCreateDoubleScalar(static_cast<double>(choice) - 8));
        } else if (choice < 14) {
            value = fuzz::arbitraryValue(host, input, 1);
        }
        qxSetField(records.get(), 0, name, value.release());
    }
    return records;
}

ifdsweep::ValueHandle valueOf(ifdsweep::Host& host, FuzzInput& input) {
    switch (input.below(4)) {
        case 0:
            return fuzz::arbitraryValue(host, input, 2);
        case 1:
            return encodedText(input);
        case 2:
            return numbersOf(input, true);
        default:
            return numbersOf(input, false);
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::vector<std::string_view> kFields = ifdsweep::presentedFields();
    ifdsweep::Host host;
    {
        const ifdsweep::Host::Scope scope(host);
        FuzzInput input(std::span(data, size));
        const std::string_view field = kFields[input.byte() % kFields.size()];
        ifdsweep::TextLimits limits;
        limits.elements = input.below(20);
        limits.characters = input.byte();
        if (input.below(2) == 0) {
            limits.digits = input.below(18);
        }
        const auto records = siblings(host, input);
        const auto value = valueOf(host, input);
        if (value != nullptr) {
            ifdsweep::StringSink sink;
            ifdsweep::Output output(sink);
            const bool isPresented =
                ifdsweep::appendPresented(output, field, *value, *records, 0, limits);
            output.flush();
            fuzz::require(isPresented != sink.text.empty(), "something is shown, or nothing");
            fuzz::requireTerminalSafe(sink.text);
        }
    }
    fuzz::require(host.liveValues() == 0, "every value is freed");
    return 0;
}
