#include "formats.h"

#include "ifdsweep/host.h"
#include "ifdsweep/write.h"
#include "pack/unpack.h"
#include "texts.h"
#include "write/indenting_sink.h"
#include "write/natural_json.h"

namespace ifdsweep::python {
namespace {

std::string prettyJsonOf(const Outcome& outcome) {
    StringSink sink;
    Output output(sink);
    IndentingSink indenting(output, 0);
    Output dense(indenting);
    appendNaturalOutcome(dense, outcome);
    dense.flush();
    output.flush();
    return std::move(sink.text);
}

}  // namespace

std::string jsonOf(const PackedFile& file, bool pretty) {
    Host host;
    const Outcome outcome = unpackOutcome(file, host);
    return pretty ? prettyJsonOf(outcome)
                  : written([&](Output& output) { appendNaturalOutcome(output, outcome); });
}

std::string factsOf(const PackedFile& file) {
    std::string text;
    Writer writer({.format = Format::facts}, text);
    writer.begin();
    replay(file, *writer.listenerFor(file.textOf(file.file().path)));
    writer.write(unpackMessages(file));
    writer.end();
    return text;
}

std::string textOf(const PackedFile& file) {
    Host host;
    std::string text;
    Writer writer({.format = Format::text}, text);
    writer.begin();
    writer.write(unpackOutcome(file, host));
    writer.end();
    return text;
}

}  // namespace ifdsweep::python
