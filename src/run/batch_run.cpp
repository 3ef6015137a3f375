#include "run/batch_run.h"

#include <algorithm>
#include <chrono>
#include <initializer_list>
#include <new>
#include <utility>
#include <vector>

#include <unistd.h>

#include "io/exit_status.h"
#include "read/messages.h"
#include "run/run_summary.h"

namespace ifdsweep {
namespace {

// What waits for its turn after a slow file, in memory: some hundred thousand files without their
// parts, and parts that are written out without being read back.
constexpr std::uint64_t kMostEntryBytes = std::uint64_t{32} << 20;
constexpr std::uint64_t kMostPartBytes = std::uint64_t{32} << 20;

constexpr std::uint64_t kMostCores = 256;

/// How many workers there can be: each takes a descriptor, and the parts that wait in files, the
/// lists and the output need theirs.
std::uint64_t mostWorkers() {
    constexpr std::uint64_t kOtherDescriptors = 192;
    const std::uint64_t all = descriptorLimit();
    return all > kOtherDescriptors ? all - kOtherDescriptors : 1;
}

/// How many parts may wait in files of their own.
std::uint64_t partFileLimit() {
    constexpr std::uint64_t kMost = 64;
    constexpr std::uint64_t kShare = 8;  // of the descriptors
    return std::min(kMost, descriptorLimit() / kShare);
}

WorkerPoolSettings poolSettings(const RunOptions& options, Colour colour, int standardInput,
                                std::size_t workers) {
    WorkerPoolSettings settings;
    settings.workers = workers;
    settings.limits = workerLimits(options.workers, workers);
    settings.colour = colour;
    settings.standardInput = standardInput;
    return settings;
}

std::size_t workerCount(const WorkerChoice& choice) {
    const long cores = ::sysconf(_SC_NPROCESSORS_ONLN);
    const auto each = static_cast<std::uint64_t>(std::max(cores, 1L));
    const std::uint64_t wanted = choice.jobs.value_or(std::min(each, kMostCores));
    return static_cast<std::size_t>(std::min(wanted, mostWorkers()));
}

/// Those of the files that there are.
std::vector<FileIdentity> known(std::initializer_list<std::optional<FileIdentity>> identities) {
    std::vector<FileIdentity> files;
    for (const auto& identity : identities) {
        if (identity) {
            files.push_back(*identity);
        }
    }
    return files;
}

/// What else the program writes, which is no input either.
std::vector<FileIdentity> writtenFiles(const RunOutput& output, const Journal* journal,
                                       const RunAssembly& assembly) {
    std::vector<FileIdentity> files = output.identities();
    const auto others =
        known({journal != nullptr ? journal->identity() : std::nullopt, assembly.failureFile()});
    files.insert(files.end(), others.begin(), others.end());
    return files;
}

/// The files of these that a run leaves nothing of.
std::vector<FileIdentity> replacedFiles(const RunOutput& output, const RunAssembly& assembly) {
    return known({output.replaced(), assembly.failureFile()});
}

}  // namespace

BatchRun::BatchRun(const RunOptions& runOptions, RunOutput& runOutput, Journal* runJournal,
                   Colour colour, int standardInput, const Interruption& runInterruption)
    : options(runOptions),
      interruption(runInterruption),
      journal(runJournal),
      assembly(options, runOutput, journal),
      output(runOutput),
      inputs(options.input, writtenFiles(output, journal, assembly),
             replacedFiles(output, assembly)),
      pool(options, poolSettings(options, colour, standardInput, workerCount(options.workers))),
      failureOutput(failurePart),
      failureWriter(options, failureOutput, colour, -1),
      progress(options),
      mostPartFiles(partFileLimit()) {}

std::uint64_t BatchRun::FileInWindow::entrySize() const {
    std::uint64_t size = sizeof *this + input.path.capacity() + input.failure.capacity() +
                         journalEntry.capacity() + report.failure.capacity();
    for (const auto& warning : report.warnings) {
        size += sizeof warning + warning.first.capacity();
    }
    return size;
}

void BatchRun::run() {
    constexpr std::chrono::milliseconds kLongest{250};  // how old the progress line may get
    assembly.begin();
    while (!isAtEnd || !window.empty()) {
        takeFiles();
        writeFinished();
        progress.show(state());
        if (!window.empty() || awaitedInput >= 0) {
            awaited.assign({interruption.descriptor()});
            if (awaitedInput >= 0) {
                awaited.push_back(awaitedInput);
            }
            for (WorkerAnswer& answer : pool.wait(kLongest, awaited)) {
                take(std::move(answer));
            }
        }
        if (interruption.signal() != 0) {
            return;
        }
    }
    progress.hide();
    assembly.end();
}

int BatchRun::conclude(int signal) {
    progress.hide();
    assembly.settle();
    printSummary(options, assembly.tally(), output, journal, signal);
    return signal != 0 ? kSignalBase + signal : assembly.tally().exitStatus(options.run.strict);
}

bool BatchRun::canTake() const {
    // What is read now will want room too.
    const std::uint64_t expected =
        filesInWork * (partBytesCome / std::max<std::uint64_t>(partCount, 1));
    const bool hasRoom = partBytes + expected < kMostPartBytes && partFiles < mostPartFiles;
    return !isAtEnd && entryBytes < kMostEntryBytes && (hasRoom || spool.hasRoom()) &&
           pool.hasRoom();
}

void BatchRun::takeFiles() {
    awaitedInput = -1;
    while (canTake()) {
        awaitedInput = inputs.awaited();
        if (awaitedInput >= 0) {
            return;
        }
        std::optional<InputFile> file = inputs.next();
        if (!file) {
            isAtEnd = true;
            return;
        }
        takeFile(std::move(*file));
    }
}

void BatchRun::takeFile(InputFile file) {
    std::string journalEntry;
    if (journal != nullptr) {
        if (const auto ending = journal->endingOf(file, journalEntry)) {
            assembly.leaveOut(*ending);
            return;
        }
    }
    FileInWindow& held = window.emplace_back();
    held.input = std::move(file);
    held.journalEntry = std::move(journalEntry);
    entryBytes += held.entrySize();
    ++filesInWork;
    if (held.input.failure.empty()) {
        pool.submit(firstNumber + window.size() - 1, held.input);
    } else {
        fail(held, inputFailure(held.input.failure));
    }
}

void BatchRun::take(WorkerAnswer answer) {
    FileInWindow& held = window[static_cast<std::size_t>(answer.number - firstNumber)];
    if (answer.failure) {
        fail(held, *answer.failure);
    } else {
        keep(held, std::move(answer.report), std::move(answer.part));
    }
}

void BatchRun::fail(FileInWindow& held, const qxMessage& error) {
    FileReport report = failureWriter.fail(held.input, error);
    if (report.isShown) {
        failureWriter.write();
        failureOutput.flush();
    }
    keep(held, std::move(report), std::exchange(failurePart.part, FilePart()));
}

void BatchRun::keep(FileInWindow& held, FileReport report, FilePart part) {
    entryBytes -= held.entrySize();
    held.isDone = true;
    held.report = std::move(report);
    held.part = std::move(part);
    entryBytes += held.entrySize();
    --filesInWork;
    ++partCount;
    partBytesCome += held.part.bytes.size();
    hold(held);
}

void BatchRun::hold(FileInWindow& held) {
    FilePart& part = held.part;
    const bool isFile = part.spill.isOpen();
    const bool hasRoom =
        isFile ? partFiles < mostPartFiles : partBytes + part.bytes.size() <= kMostPartBytes;
    if (!hasRoom && &held != &window.front()) {
        held.spooled = spool.keep(part);
        if (held.spooled) {
            part = FilePart();
            return;
        }
    }
    partFiles += isFile ? 1U : 0U;
    partBytes += part.bytes.size();
}

void BatchRun::letGo(const FileInWindow& held) {
    entryBytes -= held.entrySize();
    partFiles -= held.part.spill.isOpen() ? 1U : 0U;
    partBytes -= held.part.bytes.size();
    if (held.spooled) {
        spool.release(*held.spooled);
    }
}

void BatchRun::writeFinished() {
    while (!window.empty() && window.front().isDone) {
        FileInWindow& held = window.front();
        if (options.output.toTerminal || held.report.ending == FileReport::Ending::failed) {
            progress.hide();
        }
        assembly.add(
            held.input, held.report,
            [&] {
                if (held.spooled) {
                    spool.write(*held.spooled, output.stream());
                } else {
                    held.part.writeTo(output.stream());
                }
            },
            held.journalEntry);
        letGo(held);
        window.pop_front();
        ++firstNumber;
    }
    if (window.empty()) {
        spool.tryAgain();
    }
    output.stream().flush();  // results are seen as they come
    assembly.commit();
}

RunState BatchRun::state() const {
    RunState state;
    state.passed = assembly.tally().passed();
    state.failed = assembly.tally().failed();
    if (const auto slow = pool.longestRead(kSlowFile)) {
        state.slowFile = window[static_cast<std::size_t>(slow->number - firstNumber)].input.path;
        state.slowSince = std::chrono::duration_cast<std::chrono::seconds>(
            std::chrono::nanoseconds(steadyNanoseconds() - slow->began));
    }
    return state;
}

}  // namespace ifdsweep
