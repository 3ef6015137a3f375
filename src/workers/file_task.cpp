#include "workers/file_task.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>

#include "files/file_names.h"
#include "files/file_service.h"
#include "io/descriptor.h"
#include "read/field_selection.h"
#include "read/messages.h"
#include "read/tag_filter.h"
#include "workers/worker_limits.h"
#include "write/write_options.h"

namespace ifdsweep {
namespace {

/// Whether all tags are read, those of fields that nobody asks for too.
bool readsAll(const TaskOptions& options) {
    return options.output.fields.empty() || options.read.reading == ReadingMode::contract;
}

/// Calls a function with the outcome of each stream of a file.
template <class Outcomes, class Call>
void forEachStream(Outcomes& outcome, Call&& call) {
    call(outcome);
    std::for_each(outcome.others.begin(), outcome.others.end(), call);
}

/// Why a stream failed, for people: in the words of what was found, where it is no TIFF file.
/// @param isOneOfMany whether its file has others, so that it has to be named
std::string failureText(const Outcome& outcome, bool isOneOfMany) {
    std::string text =
        outcome.found.empty() ? messageText(*outcome.error) : outcome.found + ", not a TIFF";
    if (isOneOfMany) {
        text.append(" (").append(outcome.stream.name).append(")");
    }
    return text.append(" (").append(shortMessageId(outcome.error->id())).append(")");
}

void count(std::vector<std::pair<std::string, std::uint64_t>>& tally, std::string_view id) {
    const auto known = std::find_if(tally.begin(), tally.end(),
                                    [&](const auto& counted) { return counted.first == id; });
    if (known == tally.end()) {
        tally.emplace_back(id, 1);
    } else {
        ++known->second;
    }
}

}  // namespace

FileTask::FileTask(const TaskOptions& taskOptions, Output& output, Colour colour,
                   int standardInputFile)
    : options(taskOptions),
      fields(neededFields(options.output)),
      standardInput(standardInputFile),
      writer(makeResultWriter(writeOptions(options.output, colour), output)) {}

void FileTask::setMemory(std::function<std::uint64_t()> limit) {
    // The other half is for the directories while they are read, and for the output.
    host.setMemoryBound([limit = std::move(limit)]() noexcept {
        try {
            return limit() / 2;
        } catch (...) {
            return kLeastDefaultMemory / 2;
        }
    });
}

void FileTask::serveStandardInput() {
    const int own = ::fcntl(standardInput, F_DUPFD_CLOEXEC, 0);
    if (own < 0) {
        throw std::system_error(errno, std::system_category());
    }
    host.serveDescriptor(kStandardInput, own);
}

FileReport FileTask::read(const InputFile& file) {
    outcome = Outcome();  // first, so that two results never lie in memory
    if (file.path == kStandardInput) {
        try {
            serveStandardInput();
        } catch (const std::system_error& error) {
            return fail(file, inputFailure("cannot read the standard input: " +
                                           systemErrorText(error.code().value())));
        }
    }
    ReadOptions asked = options.read;
    asked.imagesOnly = file.imagesOnly;
    if (!filter && !readsAll(options)) {
        filter = tagFilter(fields);
    }
    asked.filter = filter ? &*filter : nullptr;
    asked.sink = writer->listenerFor(file.path);
    outcome = ifdsweep::read(host, file.path, asked);
    return finish();
}

FileReport FileTask::fail(const InputFile& file, const qxMessage& error) {
    outcome = Outcome();
    static_cast<void>(writer->listenerFor(file.path));  // what was heard so far is of no use
    outcome.file = file.path;
    outcome.firstIfdIndex = options.read.first;
    outcome.maxIfdCount = options.read.max;
    outcome.error = error;
    return finish();
}

FileReport FileTask::finish() {
    FileReport report;
    if (!outcome.isImage) {
        report.ending = FileReport::Ending::skipped;
        return report;
    }
    forEachStream(outcome, [&](Outcome& stream) { finishStream(stream, report); });
    report.isShown = writer->shows(outcome);
    return report;
}

void FileTask::finishStream(Outcome& stream, FileReport& report) {
    countWarnings(stream, report);
    if (stream.result != nullptr && stream.result->kind() == ValueKind::Struct) {
        report.directories += stream.result->rows();
    }
    if (stream.result != nullptr && !fields.empty()) {
        try {
            const Host::Scope scope(host);
            stream.result = selectFields(std::move(stream.result), fields, stream.stream.kind);
        } catch (const std::bad_alloc&) {
            stream.result.reset();
            stream.error.emplace(outOfMemory());
        }
    }
    if (stream.error && report.ending != FileReport::Ending::failed) {
        report.ending = FileReport::Ending::failed;
        report.failure = failureText(stream, !outcome.others.empty());
    }
}

void FileTask::countWarnings(Outcome& stream, FileReport& report) {
    const auto& ignored = options.output.ignored;
    std::erase_if(stream.warnings, [&](const Warning& warning) {
        return std::find(ignored.begin(), ignored.end(), warning.message.id()) != ignored.end();
    });
    std::vector<std::pair<std::string, std::uint64_t>> counts;
    for (const Warning& warning : stream.warnings) {
        count(counts, warning.message.id());
        count(report.warnings, warning.message.id());
    }
    if (options.output.warnings != WarningDetail::each) {
        stream.warnings.clear();
    }
    if (options.output.warnings == WarningDetail::count) {
        for (const auto& [id, times] : counts) {
            stream.warningCounts.push_back({id, times});
        }
    }
}

void FileTask::write() {
    writer->writeFile(outcome);
}

}  // namespace ifdsweep
