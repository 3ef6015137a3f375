#include "workers/worker_messages.h"

#include <bit>
#include <limits>
#include <utility>

#include "io/packed.h"

namespace ifdsweep {
namespace {

// A worker is the same program, but a program may be replaced while it runs.
constexpr std::string_view kVersion = "ifdsweep worker " IFDSWEEP_VERSION;

std::string withSize(std::string_view body) {
    std::string message;
    message.reserve(packed::kNumberSize + body.size());
    packed::putText(message, body);
    return message;
}

std::uint64_t bitsOf(double number) {
    return std::bit_cast<std::uint64_t>(number);
}

template <class Enumeration>
void putChoice(std::string& bytes, Enumeration value) {
    packed::putNumber(bytes, static_cast<std::uint64_t>(value));
}

void putOptional(std::string& bytes, const std::optional<std::uint64_t>& value) {
    putChoice(bytes, value.has_value());
    packed::putNumber(bytes, value.value_or(0));
}

std::optional<std::uint64_t> takeOptional(Unpacker& bytes) {
    const bool isThere = bytes.flag();
    const std::uint64_t value = bytes.number(isThere ? ~std::uint64_t{0} : 0);
    return isThere ? std::optional(value) : std::nullopt;
}

// The bindings name every member, so that one more does not build before it is packed.

void putRead(std::string& bytes, const ReadOptions& choice) {
    // The filter is made by the worker itself, and nobody but the writer is told.
    const auto& [offset, streams, first, max, readBudget, valueBudget, imagesOnly, reading, filter,
                 longestValue, sink, check] = choice;
    putOptional(bytes, offset ? std::optional(bitsOf(*offset)) : std::nullopt);
    putChoice(bytes, streams);
    packed::putNumber(bytes, bitsOf(first));
    packed::putNumber(bytes, bitsOf(max));
    putOptional(bytes, readBudget);
    putOptional(bytes, valueBudget);
    putChoice(bytes, imagesOnly);
    putChoice(bytes, reading);
    putOptional(bytes, longestValue);
    putChoice(bytes, check);
}

void takeRead(Unpacker& bytes, ReadOptions& choice) {
    if (const auto offset = takeOptional(bytes)) {
        choice.offset = std::bit_cast<double>(*offset);
    }
    choice.streams = bytes.choice(StreamChoice::all);
    choice.first = std::bit_cast<double>(bytes.number());
    choice.max = std::bit_cast<double>(bytes.number());
    choice.readBudget = takeOptional(bytes);
    choice.valueBudget = takeOptional(bytes);
    choice.imagesOnly = bytes.flag();
    choice.reading = bytes.choice(ReadingMode::contract);
    choice.longestValue = takeOptional(bytes);
    choice.check = bytes.flag();
}

void putLayout(std::string& bytes, const std::optional<Layout>& layout) {
    putChoice(bytes, layout.has_value());
    putChoice(bytes, layout.value_or(Layout::files));
}

std::optional<Layout> takeLayout(Unpacker& bytes) {
    const bool isThere = bytes.flag();
    const Layout layout = bytes.choice(isThere ? Layout::warnings : Layout::files);
    return isThere ? std::optional(layout) : std::nullopt;
}

void putField(std::string& bytes, const ChosenField& field) {
    const auto& [name, unknownId, byPattern] = field;  // how it was asked for is settled by then
    packed::putText(bytes, name);
    putOptional(bytes, unknownId ? std::optional<std::uint64_t>(*unknownId) : std::nullopt);
}

ChosenField takeField(Unpacker& bytes) {
    ChosenField field;
    field.name = bytes.text();
    if (const auto id = takeOptional(bytes)) {
        if (*id > std::numeric_limits<std::uint16_t>::max()) {
            bytes.fail();
        }
        field.unknownId = static_cast<std::uint16_t>(*id);
    }
    return field;
}

void putOutput(std::string& bytes, const OutputChoice& choice) {
    const auto& [format, layout, toTerminal, lineWidth, fields, shorten, digits, splitTexts, rows,
                 table, longestValue, tellStreams, rawCells, allDirectories, warnings, ignored] =
        choice;
    putChoice(bytes, format);
    putChoice(bytes, layout);
    putChoice(bytes, toTerminal);
    packed::putNumber(bytes, lineWidth);
    packed::putNumber(bytes, fields.size());
    for (const ChosenField& field : fields) {
        putField(bytes, field);
    }
    putOptional(bytes, shorten);
    putOptional(bytes, digits);
    putChoice(bytes, splitTexts);
    putChoice(bytes, rows);
    putLayout(bytes, table);
    putOptional(bytes, longestValue);
    putChoice(bytes, tellStreams);
    putChoice(bytes, rawCells);
    putChoice(bytes, allDirectories);
    putChoice(bytes, warnings);
    packed::putNumber(bytes, ignored.size());
    for (const std::string& id : ignored) {
        packed::putText(bytes, id);
    }
}

void takeOutput(Unpacker& bytes, OutputChoice& choice) {
    choice.format = bytes.choice(Format::packed);
    choice.layout = bytes.choice(JsonLayout::pretty);
    choice.toTerminal = bytes.flag();
    choice.lineWidth = bytes.number();
    for (std::uint64_t left = bytes.number(); left > 0 && !bytes.hasFailed(); --left) {
        choice.fields.push_back(takeField(bytes));
    }
    choice.shorten = takeOptional(bytes);
    choice.digits = takeOptional(bytes);
    choice.splitTexts = bytes.flag();
    choice.rows = bytes.choice(TableRows::nested);
    choice.table = takeLayout(bytes);
    choice.longestValue = takeOptional(bytes);
    choice.tellStreams = bytes.flag();
    choice.rawCells = bytes.flag();
    choice.allDirectories = bytes.flag();
    choice.warnings = bytes.choice(WarningDetail::none);
    for (std::uint64_t left = bytes.number(); left > 0 && !bytes.hasFailed(); --left) {
        choice.ignored.emplace_back(bytes.text());
    }
}

}  // namespace

std::string packSetup(const WorkerSetup& setup) {
    std::string body;
    packed::putText(body, kVersion);
    packed::putNumber(body, setup.mainProcess);
    packed::putNumber(body, setup.memory);
    putChoice(body, setup.hasStandardInput);
    putChoice(body, setup.colour);
    putRead(body, setup.task.read);
    putOutput(body, setup.task.output);
    return withSize(body);
}

std::optional<WorkerSetup> unpackSetup(std::string_view message) {
    Unpacker bytes(message);
    WorkerSetup setup;
    if (bytes.text() != kVersion) {
        return {};
    }
    setup.mainProcess = bytes.number();
    setup.memory = bytes.number();
    setup.hasStandardInput = bytes.flag();
    setup.colour = bytes.choice(Colour::on);
    takeRead(bytes, setup.task.read);
    takeOutput(bytes, setup.task.output);
    return bytes.isWhole() ? std::optional(std::move(setup)) : std::nullopt;
}

std::string packRequest(std::uint64_t number, const InputFile& file) {
    std::string body;
    packed::putNumber(body, number);
    putChoice(body, file.imagesOnly);
    packed::putText(body, file.path);
    return withSize(body);
}

std::optional<WorkerRequest> unpackRequest(std::string_view message) {
    Unpacker bytes(message);
    WorkerRequest request;
    request.number = bytes.number();
    request.file.imagesOnly = bytes.flag();
    request.file.path = bytes.text();
    return bytes.isWhole() ? std::optional(std::move(request)) : std::nullopt;
}

std::string packAnswer(std::uint64_t number, const FileReport& report, const FilePart& part) {
    std::string body;
    packed::putNumber(body, number);
    packReport(body, report);
    putOptional(body, part.spill.isOpen() ? std::optional(part.spillSize) : std::nullopt);
    packed::putText(body, part.bytes);
    return withSize(body);
}

std::optional<UnpackedAnswer> unpackAnswer(std::string_view message) {
    Unpacker bytes(message);
    UnpackedAnswer answer;
    answer.number = bytes.number();
    answer.report = unpackReport(bytes);
    answer.spillSize = takeOptional(bytes);
    answer.bytes = bytes.text();
    // A part is in one place alone, and is there only when it is shown.
    const bool hasPart = answer.spillSize || !answer.bytes.empty();
    if (!bytes.isWhole() || (answer.spillSize && !answer.bytes.empty()) ||
        (hasPart && !answer.report.isShown) || answer.bytes.size() > FilePart::kMostInMemory) {
        return {};
    }
    return answer;
}

}  // namespace ifdsweep
