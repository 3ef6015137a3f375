#include "write/facts_writer.h"

#include <utility>

#include "read/place_recorder.h"
#include "write/facts_line.h"
#include "write/json_members.h"
#include "write/natural_json.h"
#include "write/outcome_streams.h"

namespace ifdsweep {
namespace {

/// What a function writes, as a text.
template <class Write>
std::string written(Write&& write) {
    StringSink sink;
    Output output(sink);
    write(output);
    output.flush();
    return std::move(sink.text);
}

bool hasMessages(const Outcome& stream) {
    return stream.error || !stream.warnings.empty() || !stream.warningCounts.empty();
}

}  // namespace

template <class Write>
void FactsWriter::attempt(Write&& write) {
    if (failure) {
        return;
    }
    try {
        write();
    } catch (...) {
        failure = std::current_exception();
    }
}

EntrySink* FactsWriter::listenerFor(std::string_view fileName) {
    paths.clear();
    hasLines = false;
    failure = nullptr;
    file = fileName;
    lineStart = startOfLine({});
    return this;
}

std::string FactsWriter::startOfLine(const StreamOrigin& stream) const {
    return written([&](Output& text) { appendLineStart(text, file, stream); });
}

void FactsWriter::streamBegins(const StreamFacts& stream) {
    attempt([&] {
        paths.clear();
        lineStart = startOfLine(
            {std::string(stream.container), std::string(stream.name), stream.isEmbedded});
    });
}

void FactsWriter::directoryBegins(const DirectoryFacts& directory) {
    attempt([&] {
        paths.push_back(written([&](Output& text) {
            appendDirectoryMembers(text, pathOf(directory), directory.kind);
        }));
    });
}

void FactsWriter::directoryEnds(const DirectoryFacts& /*directory*/, bool /*isKept*/) {
    attempt([&] { paths.pop_back(); });
}

void FactsWriter::entry(const DirectoryFacts& /*directory*/, const EntryFacts& entry) {
    attempt([&] {
        hasLines = true;
        output.append(lineStart);
        output.append(paths.back());
        appendEntryMembers(output, entry);
        output.append("}\n");
    });
}

// They come with the outcome, which knows those of the host besides, and which are not to be shown.
void FactsWriter::warning(const qxMessage& /*message*/, const WarningFacts& /*place*/) {}

bool FactsWriter::shows(const Outcome& outcome) const {
    return hasLines || failure || anyStream(outcome, hasMessages);
}

void FactsWriter::writeFile(const Outcome& outcome) {
    if (failure) {
        std::rethrow_exception(std::exchange(failure, nullptr));
    }
    file = outcome.file;
    forEachStream(outcome, [this](const Outcome& stream) { writeMessages(stream); });
}

void FactsWriter::writeMessages(const Outcome& stream) {
    if (!hasMessages(stream)) {
        return;
    }
    lineStart = startOfLine(stream.stream);
    const auto appendLine = [&](std::string_view name, auto&& appendValue) {
        output.append(lineStart);
        appendName(output, name);
        appendValue();
        output.append("}\n");
    };
    for (const Warning& warning : stream.warnings) {
        appendLine("warning",
                   [&] { appendNaturalMessage(output, warning.message, &warning.place); });
    }
    for (const WarningCount& warning : stream.warningCounts) {
        appendLine("warning", [&] { appendWarningCount(output, warning); });
    }
    if (stream.error) {
        appendLine("error",
                   [&] { appendNaturalMessage(output, *stream.error, nullptr, stream.found); });
    }
}

}  // namespace ifdsweep
