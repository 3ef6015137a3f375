#include "app/file_sweeper.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <system_error>
#include <utility>

#include <fcntl.h>

#include "app/descriptor.h"
#include "app/field_selection.h"
#include "app/messages.h"
#include "app/worker_limits.h"
#include "host/file_names.h"
#include "host/file_service.h"

namespace app {

FileSweeper::FileSweeper(const Arguments& programArguments, Output& output, Colour colour,
                         int standardInputFile)
    : arguments(programArguments),
      standardInput(standardInputFile),
      numbers{arguments.read.offset, arguments.read.first, arguments.read.max},
      writer(makeResultWriter(arguments.output.format, output, colour,
                              writerSettings(arguments.output))) {
    host.setReadBudget(arguments.read.readBudget);
    host.setValueBudget(arguments.read.valueBudget);
}

void FileSweeper::setMemory(std::function<std::uint64_t()> limit) {
    // The other half is for the directories while they are read, and for the output.
    host.setMemoryBound([limit = std::move(limit)]() noexcept {
        try {
            return limit() / 2;
        } catch (...) {
            return kLeastDefaultMemory / 2;
        }
    });
}

void FileSweeper::serveStandardInput() {
    const int own = ::fcntl(standardInput, F_DUPFD_CLOEXEC, 0);
    if (own < 0) {
        throw std::system_error(errno, std::system_category());
    }
    host.files().serve(host::fileNameFromSystem(kStandardInput), host::servedFile(own));
}

FileReport FileSweeper::sweep(const InputFile& file) {
    outcome = SweepOutcome();  // first, so that two results never lie in memory
    if (file.path == kStandardInput) {
        try {
            serveStandardInput();
        } catch (const std::system_error& error) {
            return fail(file, inputFailure("cannot read the standard input: " +
                                           systemErrorText(error.code().value())));
        }
    }
    outcome = app::sweep(host, file.path, numbers, file.sniff);
    return finish();
}

FileReport FileSweeper::fail(const InputFile& file, const qxMessage& error) {
    outcome = SweepOutcome();
    outcome.file = file.path;
    outcome.firstIfdIndex = numbers.firstIfdIndex;
    outcome.maxIfdCount = numbers.maxIfdCount;
    outcome.error = error;
    return finish();
}

FileReport FileSweeper::finish() {
    FileReport report;
    if (!outcome.isImage) {
        report.ending = FileReport::Ending::skipped;
        return report;
    }
    const auto& ignored = arguments.output.ignored;
    std::erase_if(outcome.warnings, [&](const qxMessage& warning) {
        return std::find(ignored.begin(), ignored.end(), warning.id()) != ignored.end();
    });
    countWarnings(report);
    if (outcome.result != nullptr && outcome.result->kind() == host::ValueKind::Struct) {
        report.directories = outcome.result->rows();
    }
    if (outcome.result != nullptr && !arguments.output.fields.empty()) {
        try {
            const host::Host::Scope scope(host);
            outcome.result = selectFields(*outcome.result, arguments.output.fields);
        } catch (const std::bad_alloc&) {
            outcome.result.reset();
            outcome.error.emplace(outOfMemory());
        }
    }
    if (outcome.error) {
        report.ending = FileReport::Ending::failed;
        report.failure =
            messageText(*outcome.error) + " (" + std::string(outcome.error->id()) + ')';
    }
    report.isShown = writer->shows(outcome);
    return report;
}

void FileSweeper::countWarnings(FileReport& report) {
    for (const qxMessage& warning : outcome.warnings) {
        const auto known =
            std::find_if(report.warnings.begin(), report.warnings.end(),
                         [&](const auto& counted) { return counted.first == warning.id(); });
        if (known == report.warnings.end()) {
            report.warnings.emplace_back(warning.id(), 1);
        } else {
            ++known->second;
        }
    }
    if (arguments.output.warnings != WarningDetail::each) {
        outcome.warnings.clear();
    }
    if (arguments.output.warnings == WarningDetail::count) {
        for (const auto& [id, count] : report.warnings) {
            outcome.warningCounts.push_back({describeMessage(id).id, count});
        }
    }
}

void FileSweeper::write() {
    writer->writeFile(outcome);
}

}  // namespace app
