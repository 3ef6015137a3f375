#include "write/table_writer.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>

#include "text/json_text.h"
#include "text/number_output.h"

namespace ifdsweep {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

/// What a table has that depends on more than one file, or on whoever keeps it.
constexpr std::array<std::string_view, 2> kKeptElsewhere{"file_id", "root"};

/// So much of a table waits to be written.
constexpr BatchLimits kWaiting{.rows = 1024, .bytes = std::size_t{1} << 20};

FillLimits fillLimits(const WriteOptions& options) {
    FillLimits limits;
    if (options.longestValue) {
        limits.valueBytes = limits.valueItems = *options.longestValue;
    }
    return limits;
}

void appendDigits(Output& output, std::int64_t number, std::size_t width) {
    std::array<char, 20> digits{};
    std::size_t at = digits.size();
    for (; number > 0 || width > 0; number /= 10) {
        digits[--at] = static_cast<char>('0' + number % 10);
        width -= width > 0 ? 1 : 0;
    }
    output.append({digits.data() + at, digits.size() - at});
}

/// "2026-11-23T10:00:00", with a fraction of a second where there is one.
void appendMoment(Output& output, std::int64_t value) {
    using std::chrono::days, std::chrono::floor, std::chrono::microseconds;
    using Moment = std::chrono::sys_time<microseconds>;
    const Moment moment{microseconds(value)};
    const auto day = floor<days>(moment);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss time(moment - day);
    const int year = static_cast<int>(date.year());
    if (year < 0) {
        output.append('-');
    }
    appendDigits(output, std::abs(year), 4);
    const auto part = [&output](char before, std::int64_t number) {
        output.append(before);
        appendDigits(output, number, 2);
    };
    part('-', static_cast<unsigned>(date.month()));
    part('-', static_cast<unsigned>(date.day()));
    part('T', time.hours().count());
    part(':', time.minutes().count());
    part(':', time.seconds().count());
    if (const std::int64_t fraction = time.subseconds().count(); fraction != 0) {
        output.append('.');
        appendDigits(output, fraction, 6);
    }
}

std::span<const std::uint8_t> bytesOf(std::string_view text) {
    return {static_cast<const std::uint8_t*>(static_cast<const void*>(text.data())), text.size()};
}

void appendReal(Output& output, double value) {
    appendNumber(output, value, [&output](double number) { output.append(nonFiniteName(number)); });
}

/// A rational as a pair of numbers, a tag without a name as an object.
void appendJsonItem(Output& output, const ColumnArray& items, std::size_t row);

void appendJsonNumbers(Output& output, const ColumnArray& lists, std::size_t row) {
    output.append('[');
    const auto [begin, end] = lists.items(row);
    for (std::size_t item = begin; item < end; ++item) {
        output.append(item > begin ? "," : "");
        appendJsonItem(output, lists.children[0], item);
    }
    output.append(']');
}

void appendJsonMembers(Output& output, const ColumnArray& structs, std::size_t row) {
    constexpr std::array<std::string_view, 6> kNames{"tag",      "type", "count",
                                                     "position", "text", "numbers"};
    output.append('{');
    for (std::size_t member = 0; member < kNames.size(); ++member) {
        output.append(member > 0 ? "," : "");
        appendJsonString(output, kNames[member]);
        output.append(':');
        const ColumnArray& values = structs.children[member];
        if (values.isNull(row)) {
            output.append("null");
        } else if (values.type.isList) {
            appendJsonNumbers(output, values, row);
        } else {
            appendJsonItem(output, values, row);
        }
    }
    output.append('}');
}

void appendJsonItem(Output& output, const ColumnArray& items, std::size_t row) {
    if (items.isNull(row)) {
        output.append("null");
        return;
    }
    switch (items.type.item) {
        case ItemType::rational:
            output.append('[');
            appendInteger(output, items.children[0].integer(row));
            output.append(',');
            appendInteger(output, items.children[1].integer(row));
            output.append(']');
            return;
        case ItemType::unknownTag:
            appendJsonMembers(output, items, row);
            return;
        case ItemType::float64: {
            const auto quoted = [&output](double number) {
                appendJsonString(output, nonFiniteName(number));
            };
            appendNumber(output, items.number(row), quoted);
            return;
        }
        case ItemType::utf8:
        case ItemType::word:
            appendJsonString(output, items.text(row));
            return;
        case ItemType::binary:
            appendJsonBase64(output, bytesOf(items.text(row)));
            return;
        case ItemType::boolean:
            output.append(items.integer(row) != 0 ? "true" : "false");
            return;
        case ItemType::int16:
        case ItemType::int32:
        case ItemType::int64:
        case ItemType::time:
        case ItemType::instant:
            break;
    }
    appendInteger(output, items.integer(row));
}

/// A value that is a number, of whatever kind.
void appendPlainItem(Output& output, const ColumnArray& items, std::size_t row) {
    switch (items.type.item) {
        case ItemType::float64:
            appendReal(output, items.number(row));
            return;
        case ItemType::boolean:
            output.append(items.integer(row) != 0 ? "true" : "false");
            return;
        case ItemType::time:
            appendMoment(output, items.integer(row));
            return;
        case ItemType::instant:
            appendMoment(output, items.integer(row));
            output.append('Z');
            return;
        case ItemType::binary:
            appendBase64(output, bytesOf(items.text(row)));
            return;
        default:
            appendInteger(output, items.integer(row));
    }
}

/// Whether the items of a list stand between spaces.
bool isNumber(ItemType item) {
    switch (item) {
        case ItemType::int16:
        case ItemType::int32:
        case ItemType::int64:
        case ItemType::float64:
            return true;
        default:
            return false;
    }
}

bool isText(const ColumnType& type) {
    return !type.isList && (type.item == ItemType::utf8 || type.item == ItemType::word);
}

/// A value that holds no text, or holds it in JSON.
void appendValue(Output& output, const ColumnArray& column, std::size_t row) {
    if (!column.type.isList) {
        appendPlainItem(output, column, row);
    } else if (!isNumber(column.type.item)) {
        appendJsonNumbers(output, column, row);
    } else {
        const auto [begin, end] = column.items(row);
        for (std::size_t item = begin; item < end; ++item) {
            output.append(item > begin ? " " : "");
            appendPlainItem(output, column.children[0], item);
        }
    }
}

}  // namespace

TableSchema csvSchema(Layout layout) {
    ColumnChoice choice{ColumnChoice::Which::named};
    for (const Column& column : TableSchema::of(layout).columns) {
        if (std::find(kKeptElsewhere.begin(), kKeptElsewhere.end(), column.name) ==
            kKeptElsewhere.end()) {
            choice.names.push_back(column.name);
        }
    }
    return TableSchema::of(layout, choice);
}

std::string tableHeader(Layout layout) {
    std::string line;
    for (const Column& column : csvSchema(layout).columns) {
        line.append(line.empty() ? "" : ",").append(column.name);
    }
    return line.append(kLineEnd);
}

TableWriter::TableWriter(Output& destination, const WriteOptions& options)
    : ResultWriter(destination),
      table(
          csvSchema(*options.table), [this] { return std::exchange(current, nullptr); }, kWaiting,
          fillLimits(options)),
      cell(cellTextOf(options)) {}

EntrySink* TableWriter::listenerFor(std::string_view /*file*/) {
    packer.begin();
    hasListened = true;
    return &packer;
}

void TableWriter::writeFile(const Outcome& outcome) {
    if (!std::exchange(hasListened, false)) {
        packer.begin();
    }
    current = std::make_shared<const PackedFile>(packer.pack(outcome));
    while (const std::optional<ColumnBatch> batch = table.next()) {
        writeRows(*batch);
    }
}

void TableWriter::writeRows(const ColumnBatch& batch) {
    for (std::size_t row = 0; row < batch.rows; ++row) {
        for (std::size_t number = 0; number < batch.columns.size(); ++number) {
            output.append(number > 0 ? "," : "");
            const ColumnArray& column = batch.columns[number];
            if (column.isNull(row)) {
                continue;
            }
            if (isText(column.type)) {
                output.append(cell.ofText(column.text(row)));
            } else {
                output.append(cell.ofRendered([&](Output& to) { appendValue(to, column, row); }));
            }
        }
        output.append(kLineEnd);
    }
}

}  // namespace ifdsweep
