#include "ifdsweep/write.h"

#include <optional>
#include <utility>

#include "io/output.h"
#include "text/natural_text.h"
#include "write/framer.h"
#include "write/result_writer.h"
#include "write/text_value.h"
#include "write/waiting_rows.h"

namespace ifdsweep {

namespace {

/// Hands bytes to a function of the caller's.
class FunctionSink final : public ByteSink {
public:
    explicit FunctionSink(WriteSink sinkFunction) : function(std::move(sinkFunction)) {}
    void write(std::string_view bytes) override { function(bytes); }

private:
    WriteSink function;
};

std::optional<WaitingRows> waitingRowsOf(const WriteOptions& options) {
    const bool areColumnsOpen =
        options.format == Format::csv && !options.table && options.columns.empty();
    return areColumnsOpen ? std::optional<WaitingRows>(std::in_place, options) : std::nullopt;
}

}  // namespace

class Writer::Parts {
public:
    Parts(const WriteOptions& options, WriteSink sinkFunction)
        : sink(std::move(sinkFunction)),
          rows(waitingRowsOf(options)),
          output(rows ? static_cast<ByteSink&>(*rows) : sink),
          framer(output, frameOf(options)),
          writer(makeResultWriter(options, output)) {}

    void begin() { framer.begin(); }
    [[nodiscard]] EntrySink* listenerFor(std::string_view file) {
        return writer->listenerFor(file);
    }
    void write(const Outcome& outcome) {
        framer.add(writer->shows(outcome), [&] { writer->writeFile(outcome); });
    }
    void end() {
        framer.end();
        output.flush();
        if (rows) {
            rows->writeTable(sink);
        }
    }

private:
    FunctionSink sink;
    std::optional<WaitingRows> rows;
    Output output;
    Framer framer;
    std::unique_ptr<ResultWriter> writer;
};

Writer::Writer(const WriteOptions& options, WriteSink sink)
    : parts(std::make_unique<Parts>(options, std::move(sink))) {}

Writer::Writer(const WriteOptions& options, std::string& text)
    : Writer(options, [&text](std::string_view bytes) { text.append(bytes); }) {}

Writer::~Writer() = default;

void Writer::begin() {
    parts->begin();
}

EntrySink* Writer::listenerFor(std::string_view file) {
    return parts->listenerFor(file);
}

void Writer::write(const Outcome& outcome) {
    parts->write(outcome);
}

void Writer::end() {
    parts->end();
}

std::string valueText(ValueView value, std::string_view fieldName) {
    StringSink sink;
    Output output(sink);
    appendPlainValue(output, &value.get(), fieldTextOrigin(fieldName));
    output.flush();
    return std::move(sink.text);
}

}  // namespace ifdsweep
