#include "app/batch_run.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <utility>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

#include "app/messages.h"

namespace app {
namespace {

// What waits for its turn behind a slow file.
constexpr std::size_t kMostWaiting = 1024;
constexpr std::uint64_t kMostHeld = std::uint64_t{64} << 20;

constexpr std::uint64_t kMostCores = 256;

/// How many workers there can be: each takes a descriptor, and the parts that wait in files, the
/// lists and the output need theirs.
std::uint64_t mostWorkers() {
    constexpr std::uint64_t kOtherDescriptors = 192;
    rlimit limit{};
    const bool isKnown = ::getrlimit(RLIMIT_NOFILE, &limit) == 0;
    const std::uint64_t all = isKnown ? limit.rlim_cur : 0;
    return all > kOtherDescriptors ? all - kOtherDescriptors : 1;
}

std::size_t workerCount(const RunChoice& choice) {
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

}  // namespace

BatchRun::BatchRun(const Arguments& programArguments, RunOutput& runOutput, Journal* runJournal,
                   Colour colour, int standardInput, const Interruption& runInterruption)
    : arguments(programArguments),
      interruption(runInterruption),
      journal(runJournal),
      log(arguments, runOutput, journal),
      output(runOutput),
      inputs(arguments.input, writtenFiles(output, journal, log)),
      pool(arguments, colour, standardInput, workerCount(arguments.run)),
      failureOutput(failurePart),
      failureWriter(arguments, failureOutput, colour, -1),
      progress(arguments),
      outputIsTerminal(arguments.output.file.empty() && ::isatty(STDOUT_FILENO) == 1) {}

void BatchRun::run() {
    constexpr std::chrono::milliseconds kLongest{250};  // how old the progress line may get
    log.begin();
    while (!isAtEnd || !window.empty()) {
        takeFiles();
        writeFinished();
        progress.show(log.state());
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

int BatchRun::conclude() {
    progress.hide();
    const int signal = interruption.signal();
    log.summarize(signal);
    return log.exitStatus(signal);
}

bool BatchRun::canTake() const {
    return !isAtEnd && pool.hasRoom() && window.size() < kMostWaiting && heldBytes < kMostHeld;
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
    waiting.isDone = true;
    waiting.report = std::move(report);
    waiting.part = std::move(part);
    heldBytes += waiting.part.weight();
}

void BatchRun::writeFinished() {
    while (!window.empty() && window.front().isDone) {
        Waiting& waiting = window.front();
        if (outputIsTerminal || waiting.report.ending == FileReport::Ending::failed) {
            progress.hide();
        }
        log.add(
            waiting.file, waiting.report, [&] { waiting.part.writeTo(output.stream()); },
            waiting.journalEntry);
        heldBytes -= waiting.part.weight();
        window.pop_front();
        ++firstNumber;
    }
    output.stream().flush();  // results are seen as they come
    log.commit();
}

}  // namespace app
