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

/// Why a file failed, for people: in the words of what was found, where it is no TIFF file.
std::string failureText(const Outcome& outcome) {
    std::string text =
        outcome.found.empty() ? messageText(*outcome.error) : outcome.found + ", not a TIFF";
    return text.append(" (").append(shortMessageId(outcome.error->id())).append(")");
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
    const auto& ignored = options.output.ignored;
    std::erase_if(outcome.warnings, [&](const Warning& warning) {
        return std::find(ignored.begin(), ignored.end(), warning.message.id()) != ignored.end();
    });
    countWarnings(report);
    if (outcome.result != nullptr && outcome.result->kind() == ValueKind::Struct) {
        report.directories = outcome.result->rows();
    }
    if (outcome.result != nullptr && !fields.empty()) {
        try {
            const Host::Scope scope(host);
            outcome.result = selectFields(std::move(outcome.result), fields);
        } catch (const std::bad_alloc&) {
            outcome.result.reset();
            outcome.error.emplace(outOfMemory());
        }
    }
    if (outcome.error) {
        report.ending = FileReport::Ending::failed;
        report.failure = failureText(outcome);
    }
    report.isShown = writer->shows(outcome);
    return report;
}

void FileTask::countWarnings(FileReport& report) {
    for (const Warning& warning : outcome.warnings) {
        const std::string_view id = warning.message.id();
        const auto known = std::find_if(report.warnings.begin(), report.warnings.end(),
                                        [&](const auto& counted) { return counted.first == id; });
        if (known == report.warnings.end()) {
            report.warnings.emplace_back(id, 1);
        } else {
            ++known->second;
        }
    }
    if (options.output.warnings != WarningDetail::each) {
        outcome.warnings.clear();
    }
    if (options.output.warnings == WarningDetail::count) {
        for (const auto& [id, count] : report.warnings) {
            outcome.warningCounts.push_back({id, count});
        }
    }
}

void FileTask::write() {
    writer->writeFile(outcome);
}

}  // namespace ifdsweep
