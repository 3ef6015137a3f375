#include "run/batch_run.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <utility>
#include <vector>

#include <unistd.h>

#include "read/messages.h"

namespace ifdsweep {
namespace {

// What waits for its turn behind a slow file, in memory: some hundred thousand files without their
// parts, and parts that are written out without being read back.
constexpr std::uint64_t kMostEntryBytes = std::uint64_t{32} << 20;
constexpr std::uint64_t kMostPartBytes = std::uint64_t{32} << 20;

// A file that takes longer is named while it is read.
constexpr std::chrono::seconds kLong{2};

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

/// The memory of a file in the window.
template <class Waiting>
std::uint64_t entrySize(const Waiting& waiting) {
    std::uint64_t size = sizeof waiting + waiting.file.path.capacity() +
                         waiting.file.failure.capacity() + waiting.journalEntry.capacity() +
                         waiting.report.failure.capacity();
    for (const auto& warning : waiting.report.warnings) {
        size += sizeof warning + warning.first.capacity();
    }
    return size;
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

/// What else the program writes, which is no input either.
std::vector<FileIdentity> writtenFiles(const RunOutput& output, const Journal* journal,
                                       const RunLog& log) {
    std::vector<FileIdentity> files = output.identities();
    const auto add = [&files](const std::optional<FileIdentity>& identity) {
        if (identity) {
            files.push_back(*identity);
        }
    };
    add(journal != nullptr ? journal->identity() : std::nullopt);
    add(log.failureFile());
    return files;
}

/// The files of these that a run leaves nothing of.
std::vector<FileIdentity> replacedFiles(const RunOutput& output, const RunLog& log) {
    std::vector<FileIdentity> files;
    for (const auto& identity : {output.replaced(), log.failureFile()}) {
        if (identity) {
            files.push_back(*identity);
        }
    }
    return files;
}

}  // namespace

BatchRun::BatchRun(const RunOptions& runOptions, RunOutput& runOutput, Journal* runJournal,
                   Colour colour, int standardInput, const Interruption& runInterruption)
    : options(runOptions),
      interruption(runInterruption),
      journal(runJournal),
      log(options, runOutput, journal),
      output(runOutput),
      inputs(options.input, writtenFiles(output, journal, log), replacedFiles(output, log)),
      pool(options, poolSettings(options, colour, standardInput, workerCount(options.workers))),
      failureOutput(failurePart),
      failureWriter(options, failureOutput, colour, -1),
      progress(options),
      mostPartFiles(partFileLimit()) {}

void BatchRun::run() {
    constexpr std::chrono::milliseconds kLongest{250};  // how old the progress line may get
    log.begin();
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
    log.end();
}

int BatchRun::conclude(int signal) {
    progress.hide();
    log.settle();
    log.summarize(signal);
    return log.exitStatus(signal);
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
            log.leaveOut(*ending);
            return;
        }
    }
    Waiting& waiting = window.emplace_back();
    waiting.file = std::move(file);
    waiting.journalEntry = std::move(journalEntry);
    entryBytes += entrySize(waiting);
    ++filesInWork;
    if (waiting.file.failure.empty()) {
        pool.submit(firstNumber + window.size() - 1, waiting.file);
    } else {
        fail(waiting, inputFailure(waiting.file.failure));
    }
}

void BatchRun::take(WorkerAnswer answer) {
    Waiting& waiting = window[static_cast<std::size_t>(answer.number - firstNumber)];
    if (answer.failure) {
        fail(waiting, *answer.failure);
    } else {
        keep(waiting, std::move(answer.report), std::move(answer.part));
    }
}

void BatchRun::fail(Waiting& waiting, const qxMessage& error) {
    FileReport report = failureWriter.fail(waiting.file, error);
    if (report.isShown) {
        failureWriter.write();
        failureOutput.flush();
    }
    keep(waiting, std::move(report), std::exchange(failurePart.part, FilePart()));
}

void BatchRun::keep(Waiting& waiting, FileReport report, FilePart part) {
    entryBytes -= entrySize(waiting);
    waiting.isDone = true;
    waiting.report = std::move(report);
    waiting.part = std::move(part);
    entryBytes += entrySize(waiting);
    --filesInWork;
    ++partCount;
    partBytesCome += waiting.part.bytes.size();
    hold(waiting);
}

void BatchRun::hold(Waiting& waiting) {
    FilePart& part = waiting.part;
    const bool isFile = part.spill.isOpen();
    const bool hasRoom =
        isFile ? partFiles < mostPartFiles : partBytes + part.bytes.size() <= kMostPartBytes;
    if (!hasRoom && &waiting != &window.front()) {
        waiting.spooled = spool.keep(part);
        if (waiting.spooled) {
            part = FilePart();
            return;
        }
    }
    partFiles += isFile ? 1U : 0U;
    partBytes += part.bytes.size();
}

void BatchRun::letGo(const Waiting& waiting) {
    entryBytes -= entrySize(waiting);
    partFiles -= waiting.part.spill.isOpen() ? 1U : 0U;
    partBytes -= waiting.part.bytes.size();
    if (waiting.spooled) {
        spool.release(*waiting.spooled);
    }
}

void BatchRun::writeFinished() {
    while (!window.empty() && window.front().isDone) {
        Waiting& waiting = window.front();
        if (options.output.toTerminal || waiting.report.ending == FileReport::Ending::failed) {
            progress.hide();
        }
        log.add(
            waiting.file, waiting.report,
            [&] {
                if (waiting.spooled) {
                    spool.write(*waiting.spooled, output.stream());
                } else {
                    waiting.part.writeTo(output.stream());
                }
            },
            waiting.journalEntry);
        letGo(waiting);
        window.pop_front();
        ++firstNumber;
    }
    if (window.empty()) {
        spool.tryAgain();
    }
    output.stream().flush();  // results are seen as they come
    log.commit();
}

RunState BatchRun::state() const {
    RunState state = log.state();
    if (const auto slow = pool.longestRead(kLong)) {
        state.slowFile = window[static_cast<std::size_t>(slow->number - firstNumber)].file.path;
        state.slowSince = std::chrono::duration_cast<std::chrono::seconds>(
            std::chrono::nanoseconds(steadyNanoseconds() - slow->began));
    }
    return state;
}

}  // namespace ifdsweep
