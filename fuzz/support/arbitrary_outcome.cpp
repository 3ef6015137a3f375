#include "arbitrary_outcome.h"

#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "host/host_parts.h"
#include "host/message_texts.h"
#include "locate/locate_messages.h"
#include "read/messages.h"

namespace fuzz {
namespace {

double arbitraryNumber(FuzzInput& input) {
    constexpr std::array kSpecial{0.0,
                                  -0.0,
                                  1.0,
                                  -1.0,
                                  0.1,
                                  9007199254740992.0,
                                  -9007199254740992.0,
                                  18446744073709551615.0,
                                  1e300,
                                  5e-324,
                                  std::numeric_limits<double>::infinity(),
                                  -std::numeric_limits<double>::infinity(),
                                  std::numeric_limits<double>::quiet_NaN()};
    const std::size_t choice = input.byte();
    if (choice < kSpecial.size()) {
        return kSpecial[choice];
    }
    switch (choice % 3) {
        case 0:
            return static_cast<double>(input.word(2));
        case 1:
            return static_cast<double>(static_cast<std::int64_t>(input.word(8)));
        default:
            return std::bit_cast<double>(input.word(8));
    }
}

std::string arbitraryBytes(FuzzInput& input, std::size_t limit) {
    const auto bytes = input.piece(input.below(limit));
    return {bytes.begin(), bytes.end()};
}

/// Widened bytes with and without sign, or any units: the texts that hosts hold.
std::u16string arbitraryUnits(FuzzInput& input, std::size_t limit) {
    const std::size_t form = input.below(3);
    std::u16string units;
    for (std::size_t length = input.below(limit); length > 0 && !input.empty(); --length) {
        const auto unit = static_cast<char16_t>(input.word(form == 0 ? 2 : 1));
        const bool isWidened = form == 1 && unit >= 0x80;
        units.push_back(isWidened ? static_cast<char16_t>(unit | 0xFF00U) : unit);
    }
    return units;
}

struct Shape {
    std::size_t rows;
    std::size_t columns;
};

/// Mostly rows, as records hold them.
Shape arbitraryShape(FuzzInput& input) {
    const std::size_t code = input.byte();
    if (code < 200) {
        return {1, code % 24};
    }
    return {code % 5, code / 5 % 5};
}

ifdsweep::ValueHandle arbitraryArray(ifdsweep::Host& host, FuzzInput& input,
                                     ifdsweep::ValueKind kind) {
    const Shape shape = arbitraryShape(input);
    ifdsweep::ValueHandle value(valuesOf(host).createArray(kind, shape.rows, shape.columns));
    void* elements = ifdsweep::ValueStore::elements(*value);
    for (std::size_t index = 0; index < value->elementCount(); ++index) {
        if (kind == ifdsweep::ValueKind::Double) {
            static_cast<double*>(elements)[index] = arbitraryNumber(input);
        } else {
            static_cast<std::uint8_t*>(elements)[index] = input.byte();
        }
    }
    return value;
}

ifdsweep::ValueHandle arbitraryCells(ifdsweep::Host& host, FuzzInput& input, unsigned depth) {
    const std::size_t columns = input.below(6);
    ifdsweep::ValueHandle cells(valuesOf(host).createArray(ifdsweep::ValueKind::Cell, 1, columns));
    for (std::size_t index = 0; index < columns; ++index) {
        ifdsweep::ValueStore::setCell(*cells, index, arbitraryValue(host, input, depth).release());
    }
    return cells;
}

ifdsweep::ValueHandle arbitraryRecords(ifdsweep::Host& host, FuzzInput& input, unsigned depth) {
    constexpr std::array kNames{
        "Filename", "FileModDate", "Format",  "Width",           "UnknownTags", "ID",
        "Offset",   "Value",       "SubIFDs", "DigitalCamera",   "Make",        "XMP",
        "Colormap", "GPSInfo",     "Artist",  "Odd \"\xC3\xA9\n"};
    const std::size_t first = input.below(kNames.size());
    const std::size_t count = input.below(kNames.size() - first + 1);
    const auto names = std::span(kNames).subspan(first, count);
    const std::size_t elements = input.below(4);
    ifdsweep::ValueHandle records(valuesOf(host).createRecords(elements, 1, names));
    for (std::size_t element = 0; element < elements; ++element) {
        for (const char* name : names) {
            ifdsweep::ValueStore::setField(*records, element, name,
                                           arbitraryValue(host, input, depth).release());
        }
    }
    return records;
}

/// A message of any catalogue row, with arguments of the kinds that it takes.
qxMessage arbitraryMessage(FuzzInput& input) {
    const std::size_t choice = input.byte();
    const auto rows = ifdsweep::messageTexts();
    if (choice >= 250) {
        return {choice % 2 == 0 ? ifdsweep::kNoExifSegmentId : ifdsweep::kUnexpectedFailureId,
                {qxMessageText(arbitraryBytes(input, 40))}};
    }
    const ifdsweep::MessageTextRow& row = rows[choice % rows.size()];
    std::vector<qxMessageArgument> arguments;
    for (const char kind : row.arguments) {
        if (kind == 'i') {
            arguments.emplace_back(static_cast<std::int64_t>(input.word(8)));
        } else if (input.below(2) == 0) {
            arguments.emplace_back(qxMessageText(arbitraryBytes(input, 40)));
        } else {
            arguments.emplace_back(qxMessageText(arbitraryUnits(input, 40)));
        }
    }
    return {row.id.data(), std::move(arguments)};
}

ifdsweep::WarningPlace arbitraryPlace(FuzzInput& input) {
    ifdsweep::WarningPlace place;
    if (input.below(2) == 0) {
        place.path = arbitraryBytes(input, 60);
        place.tag = input.byte();
        place.offset = input.byte();
    }
    return place;
}

/// What came of one stream.
ifdsweep::Outcome arbitraryStream(ifdsweep::Host& host, FuzzInput& input) {
    constexpr unsigned kDepth = 5;
    ifdsweep::Outcome outcome;
    outcome.initialOffset = arbitraryNumber(input);
    outcome.firstIfdIndex = arbitraryNumber(input);
    outcome.maxIfdCount = arbitraryNumber(input);
    for (std::size_t count = input.below(4); count > 0; --count) {
        outcome.warnings.push_back({arbitraryMessage(input), arbitraryPlace(input)});
    }
    if (input.below(8) == 0) {
        outcome.error = arbitraryMessage(input);
    } else if (input.below(2) == 0) {
        outcome.result = arbitraryValue(host, input, kDepth);
    } else {
        outcome.result = arbitraryRecords(host, input, kDepth);
    }
    return outcome;
}

ifdsweep::StreamOrigin arbitraryOrigin(FuzzInput& input) {
    constexpr std::array kContainers{"png", "jpeg", "heif"};
    return {kContainers[input.below(kContainers.size())], arbitraryBytes(input, 40),
            input.below(2) == 0, static_cast<ifdsweep::DirectoryKind>(input.below(4))};
}

}  // namespace

ifdsweep::ValueHandle arbitraryValue(ifdsweep::Host& host, FuzzInput& input, unsigned depth) {
    switch (input.below(depth > 0 ? 8 : 6)) {
        case 0:
            return nullptr;
        case 1:
        case 2:
            return arbitraryArray(host, input, ifdsweep::ValueKind::Double);
        case 3:
            return arbitraryArray(host, input, ifdsweep::ValueKind::Uint8);
        case 4:
        case 5:
            return ifdsweep::ValueHandle(valuesOf(host).createText(arbitraryUnits(input, 255)));
        case 6:
            return arbitraryCells(host, input, depth - 1);
        default:
            return arbitraryRecords(host, input, depth - 1);
    }
}

ifdsweep::Outcome arbitraryOutcome(ifdsweep::Host& host, FuzzInput& input) {
    const std::string file = arbitraryBytes(input, 60);
    ifdsweep::Outcome outcome = arbitraryStream(host, input);
    outcome.file = file;
    // Of each four, two have no container, one has one stream, and one has others.
    const std::size_t form = input.below(4);
    if (form >= 2) {
        outcome.stream = arbitraryOrigin(input);
    }
    for (std::size_t count = form == 3 ? input.below(4) : 0; count > 0; --count) {
        ifdsweep::Outcome& other = outcome.others.emplace_back(arbitraryStream(host, input));
        other.file = file;
        other.stream = arbitraryOrigin(input);
    }
    return outcome;
}

}  // namespace fuzz
