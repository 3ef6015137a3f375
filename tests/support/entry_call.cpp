#include "support/entry_call.h"

#include <array>
#include <stdexcept>

#include "host/host_parts.h"
#include "support/record_dump.h"

namespace fixture {
namespace {

struct ArgumentDump : boost::static_visitor<std::string> {
    std::string operator()(std::int64_t number) const { return std::to_string(number); }
    std::string operator()(const qxMessageText& text) const {
        return boost::apply_visitor(*this, text);
    }
    std::string operator()(const std::string& text) const {
        std::u16string units;
        for (const char byte : text) {
            units += static_cast<char16_t>(static_cast<unsigned char>(byte));
        }
        return quotedText(units);
    }
    std::string operator()(const std::u16string& text) const { return 'u' + quotedText(text); }
};

std::vector<Record> recordsOf(const ifdsweep::Value& value) {
    std::vector<Record> records;
    if (value.kind() != ifdsweep::ValueKind::Struct) {
        return records;
    }
    for (std::size_t element = 0; element < value.elementCount(); ++element) {
        Record& record = records.emplace_back();
        for (std::size_t f = 0; f < value.fieldCount(); ++f) {
            record.emplace_back(value.fieldName(f), dump(value.field(element, f)));
        }
    }
    return records;
}

/// The result of the entry point; null when it gave none.
ifdsweep::ValueHandle enter(const std::u16string& fileName, const Numbers& numbers) {
    const std::array<ifdsweep::ValueHandle, 4> inputs{
        ifdsweep::ValueHandle(qxCreateUString(fileName.data(), fileName.size())),
        ifdsweep::ValueHandle(qxCreateDoubleScalar(numbers.initialOffset)),
        ifdsweep::ValueHandle(qxCreateDoubleScalar(numbers.firstIfdIndex)),
        ifdsweep::ValueHandle(qxCreateDoubleScalar(numbers.maxIfdCount))};
    std::array<const qxArray*, 4> arguments{};
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        arguments[i] = inputs[i].get();
    }
    qxArray* output = nullptr;
    qxeFunction(1, &output, 4, arguments.data());
    return ifdsweep::ValueHandle(output);
}

/// The call alone; every host value is gone when it returns.
Call call(const std::u16string& fileName, const Numbers& numbers, const Inspection& inspection,
          const ifdsweep::Reading* reading) {
    Call made;
    try {
        const ifdsweep::ValueHandle result =
            reading == nullptr ? enter(fileName, numbers)
                               : ifdsweep::ValueHandle(ifdsweep::readDirectories(
                                     fileName, numbers.initialOffset, numbers.firstIfdIndex,
                                     numbers.maxIfdCount, *reading));
        if (result == nullptr) {
            made.error = "no result and no error";
            return made;
        }
        made.result = shapeText(*result);
        inspection(*result);
    } catch (const qxMessage& message) {
        made.error = messageDump(message);
    } catch (const std::exception& exception) {
        made.error = std::string("exception ") + exception.what();
    }
    return made;
}

Call run(const std::u16string& fileName, const Numbers& numbers, const Preparation& prepare,
         const Inspection& inspection, const ifdsweep::Reading* reading) {
    ifdsweep::Host host;
    if (prepare) {
        prepare(host);
    }
    Call made;
    {
        const ifdsweep::Host::Scope scope(host);
        made = call(fileName, numbers, inspection, reading);
    }
    for (const qxMessage& warning : host.warnings()) {
        made.warnings.push_back(messageDump(warning));
    }
    if (host.liveValues() != 0) {
        throw std::logic_error(std::to_string(host.liveValues()) + " host values were left alive");
    }
    return made;
}

/// Serves bytes before the caller's own preparation.
Preparation serving(const Bytes& bytes, const Preparation& prepare) {
    return [&bytes, &prepare](ifdsweep::Host& host) {
        filesOf(host).serve(kFileName, bytes);
        if (prepare) {
            prepare(host);
        }
    };
}

Call recordsOnFile(const std::u16string& fileName, const Numbers& numbers,
                   const Preparation& prepare, const ifdsweep::Reading* reading) {
    std::vector<Record> records;
    Call made = run(
        fileName, numbers, prepare,
        [&](const ifdsweep::Value& result) { records = recordsOf(result); }, reading);
    made.records = std::move(records);
    return made;
}

}  // namespace

std::string messageDump(const qxMessage& message) {
    constexpr std::string_view kPrefix = "Velmora:pixlore:ifdsweep:";
    std::string text(message.id());
    if (text.rfind(kPrefix, 0) == 0) {
        text.erase(0, kPrefix.size());
    }
    text += '(';
    for (std::size_t i = 0; i < message.arguments().size(); ++i) {
        text += (i > 0 ? ", " : "") + boost::apply_visitor(ArgumentDump(), message.arguments()[i]);
    }
    return text + ')';
}

Call callOnFile(const std::u16string& fileName, const Numbers& numbers,
                const Preparation& prepare) {
    return recordsOnFile(fileName, numbers, prepare, nullptr);
}

Call readingOnFile(const std::u16string& fileName, const ifdsweep::Reading& reading,
                   const Numbers& numbers, const Preparation& prepare) {
    return recordsOnFile(fileName, numbers, prepare, &reading);
}

Call callEntryPoint(const Bytes& bytes, const Numbers& numbers, const Preparation& prepare) {
    return callOnFile(kFileName, numbers, serving(bytes, prepare));
}

Call callReading(const Bytes& bytes, const ifdsweep::Reading& reading, const Numbers& numbers,
                 const Preparation& prepare) {
    return readingOnFile(kFileName, reading, numbers, serving(bytes, prepare));
}

Call inspectFile(const std::u16string& fileName, const Numbers& numbers,
                 const Inspection& inspection, const ifdsweep::Reading* reading) {
    return run(fileName, numbers, {}, inspection, reading);
}

Call inspect(const Bytes& bytes, const Numbers& numbers, const Inspection& inspection) {
    return run(kFileName, numbers, serving(bytes, {}), inspection, nullptr);
}

std::string Call::value(std::string_view field, std::size_t element) const {
    for (const auto& [name, text] : records.at(element)) {
        if (name == field) {
            return text;
        }
    }
    return "no field";
}

std::string Call::added(std::size_t element) const {
    constexpr std::size_t kJpegHead = 10;  // the records of a JPEG lack the others
    const Record& record = records.at(element);
    const bool hasWholeHead =
        record.size() > kJpegHead && record[kJpegHead].first == headNames()[kJpegHead];
    std::string text;
    for (std::size_t f = hasWholeHead ? headNames().size() : kJpegHead; f < record.size(); ++f) {
        if (record[f].second != "empty") {
            text += (text.empty() ? "" : " ") + record[f].first + '=' + record[f].second;
        }
    }
    return text;
}

std::vector<std::string> Call::names() const {
    std::vector<std::string> list;
    if (!records.empty()) {
        for (const auto& [name, text] : records.front()) {
            list.push_back(name);
        }
    }
    return list;
}

std::vector<std::string> Call::outcome() const {
    std::vector<std::string> lines = warnings;
    if (!error.empty()) {
        lines.push_back("error " + error);
        return lines;
    }
    lines.push_back(result);
    for (std::size_t element = 0; element < records.size(); ++element) {
        lines.push_back(added(element));
    }
    return lines;
}

std::string Call::text() const {
    std::string lines;
    for (const std::string& warning : warnings) {
        lines += warning + '\n';
    }
    if (!error.empty()) {
        return lines + "error " + error + '\n';
    }
    lines += result + '\n';
    for (const Record& record : records) {
        for (const auto& [name, value] : record) {
            lines += name + '=' + value + '\n';
        }
    }
    return lines;
}

}  // namespace fixture
