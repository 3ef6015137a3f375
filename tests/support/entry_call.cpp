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

/// The call alone; every host value is gone when it returns.
Call call(const std::u16string& fileName, const Numbers& numbers, const Inspection& inspection) {
    const std::array<ifdsweep::ValueHandle, 4> inputs{
        ifdsweep::ValueHandle(qxCreateUString(fileName.data(), fileName.size())),
        ifdsweep::ValueHandle(qxCreateDoubleScalar(numbers.initialOffset)),
        ifdsweep::ValueHandle(qxCreateDoubleScalar(numbers.firstIfdIndex)),
        ifdsweep::ValueHandle(qxCreateDoubleScalar(numbers.maxIfdCount))};
    std::array<const qxArray*, 4> arguments{};
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        arguments[i] = inputs[i].get();
    }
    Call made;
    qxArray* output = nullptr;
    try {
        qxeFunction(1, &output, 4, arguments.data());
        const ifdsweep::ValueHandle result(output);
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
         const Inspection& inspection) {
    ifdsweep::Host host;
    if (prepare) {
        prepare(host);
    }
    Call made;
    {
        const ifdsweep::Host::Scope scope(host);
        made = call(fileName, numbers, inspection);
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
    std::vector<Record> records;
    Call made = run(fileName, numbers, prepare,
                    [&](const ifdsweep::Value& result) { records = recordsOf(result); });
    made.records = std::move(records);
    return made;
}

Call callEntryPoint(const Bytes& bytes, const Numbers& numbers, const Preparation& prepare) {
    return callOnFile(kFileName, numbers, serving(bytes, prepare));
}

Call inspectFile(const std::u16string& fileName, const Numbers& numbers,
                 const Inspection& inspection) {
    return run(fileName, numbers, {}, inspection);
}

Call inspect(const Bytes& bytes, const Numbers& numbers, const Inspection& inspection) {
    return run(kFileName, numbers, serving(bytes, {}), inspection);
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
    const Record& record = records.at(element);
    std::string text;
    for (std::size_t f = headNames().size(); f < record.size(); ++f) {
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
