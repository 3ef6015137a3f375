#include "app/program.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "app/arguments.h"
#include "app/batch_run.h"
#include "app/csv_writer.h"
#include "app/descriptor.h"
#include "app/error_stream.h"
#include "app/file_roles.h"
#include "app/file_sweeper.h"
#include "app/input_files.h"
#include "app/interruption.h"
#include "app/journal.h"
#include "app/messages.h"
#include "app/output.h"
#include "app/read_limits.h"
#include "app/run_description.h"
#include "app/run_failure.h"
#include "app/run_log.h"
#include "app/run_output.h"
#include "app/seconds.h"
#include "app/standard_input.h"
#include "app/worker.h"

namespace app {
namespace {

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

Colour outputColour(const OutputChoice& choice) {
    const char* terminal = std::getenv("TERM");
    const bool capable = terminal != nullptr && std::string_view(terminal) != "dumb";
    return capable && !isSet("NO_COLOR") && choice.toTerminal ? Colour::on : Colour::off;
}

/// Whether all there is to do is one file, which needs no process of its own: nothing is behind it
/// that could be lost with it.
bool isOneFile(const Arguments& arguments) {
    struct stat status {};
    const RunChoice& run = arguments.run;
    return arguments.input.paths.size() == 1 && arguments.input.listFile.empty() &&
           arguments.output.file.empty() && run.failureFile.empty() && run.journal.empty() &&
           !run.jobs &&
           (arguments.input.paths[0] == kStandardInput ||
            (::stat(arguments.input.paths[0].c_str(), &status) == 0 && S_ISREG(status.st_mode)));
}

/// What is printed of one file that is not read in time.
LateEnding makeLateEnding(const Arguments& arguments, const InputFile& file, Colour colour,
                          double seconds) {
    StringSink sink;
    Output output(sink);
    FileSweeper sweeper(arguments, output, colour, -1);
    const FileReport report = sweeper.fail(
        file, qxMessage(kTimeoutId, {qxMessageText(secondsText(nanosecondsOf(seconds)))}));
    const bool hasOpenColumns =
        arguments.output.format == Format::csv && arguments.output.fields.empty();
    const Frame frame = frameOf(arguments.output.format, writerSettings(arguments.output));
    output.append(hasOpenColumns ? csvHeader({}) : frame.head);
    if (report.isShown) {
        output.append(frame.first);
        sweeper.write();
    }
    output.append(frame.tail);
    output.flush();
    return {std::move(sink.text), errorLine({file.path, ": ", report.failure})};
}

FileReport readOneFile(const Arguments& arguments, const InputFile& file, Colour colour,
                       FileSweeper& sweeper) {
    if (!file.failure.empty()) {
        return sweeper.fail(file, inputFailure(file.failure));
    }
    RunChoice choice = arguments.run;
    choice.memory = choice.memory.value_or(kLeastDefaultMemory);  // the machine is not asked yet
    const double seconds = workerLimits(choice, 1).timeout;
    const LateEnding ending = makeLateEnding(arguments, file, colour, seconds);
    sweeper.setMemory([&run = arguments.run] { return workerLimits(run, 1).memory; });
    std::optional<qxMessage> failure;
    {
        const TimeLimit time(seconds, ending);
        const MemoryLimit memory(arguments.run);
        failure = outOfMemory();
        try {
            return sweeper.sweep(file);
        } catch (const std::bad_alloc&) {
            // Too little even for telling so; there is more once the limit is gone.
        }
    }
    return sweeper.fail(file, *failure);
}

int sweepOneFile(const Arguments& arguments, RunOutput& output, int standardInput,
                 Interruption& interruption) {
    RunLog log(arguments, output, nullptr);
    const Colour colour = outputColour(arguments.output);
    FileSweeper sweeper(arguments, output.stream(), colour, standardInput);
    const InputFile file = InputFiles(arguments.input, output.identities()).next().value();
    interruption.endAtOnce();  // nothing is written that could be left half done
    const FileReport report = readOneFile(arguments, file, colour, sweeper);
    interruption.takeNote();
    log.begin();
    log.add(file, report, [&sweeper] { sweeper.write(); });
    log.end();
    return log.exitStatus(0);
}

int sweepManyFiles(const Arguments& arguments, int standardInput,
                   const Interruption& interruption) {
    checkFileRoles(arguments);
    std::optional<Journal> journal;
    if (!arguments.run.journal.empty()) {
        journal.emplace(arguments.run.journal, describeRun(arguments));
    }
    RunOutput output(arguments.output, journal ? &*journal : nullptr, &interruption);
    BatchRun batch(arguments, output, journal ? &*journal : nullptr, outputColour(arguments.output),
                   standardInput, interruption);
    try {
        batch.run();
    } catch (const Interrupted&) {
        return batch.conclude(interruption.signal());
    } catch (const OutputError& error) {
        if (arguments.output.file.empty() || error.systemError == EPIPE) {
            throw;
        }
        throw RunFailure("cannot write " + arguments.output.file + ": " +
                         systemErrorText(error.systemError));
    }
    // A signal that comes from here on is too late: what is said must be what was done.
    const int signal = interruption.signal();
    if (signal == 0) {
        output.finish();
    }
    return batch.conclude(signal);
}

int sweepFiles(const Arguments& arguments) {
    const auto& paths = arguments.input.paths;
    Descriptor standardInput;
    if (std::find(paths.begin(), paths.end(), kStandardInput) != paths.end()) {
        standardInput = openStandardInput();
    }
    Interruption interruption;
    if (!isOneFile(arguments)) {
        return sweepManyFiles(arguments, standardInput.get(), interruption);
    }
    try {
        RunOutput output(arguments.output, nullptr, &interruption);
        return sweepOneFile(arguments, output, standardInput.get(), interruption);
    } catch (const Interrupted&) {
        return kSignalBase + interruption.signal();
    }
}

/// Gives a closed standard stream something to be, so that no file of ours takes its number and is
/// then read or written in its place: reading and writing it fail as before.
void occupyStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) < 0) {
            // Takes the lowest free number, which is this one. The root is always there, and a
            // mere place in the tree can be neither read nor written.
            static_cast<void>(::open("/", O_PATH));
        }
    }
}

int printText(const std::string& text) {
    FileDescriptorSink sink(STDOUT_FILENO);
    Output output(sink);
    output.append(text);
    output.flush();
    return kAllRead;
}

int runCommand(int argumentCount, const char* const* arguments) {
    CommandLine commandLine = parseCommandLine(argumentCount, arguments);
    switch (commandLine.action) {
        case CommandLine::Action::usage:
            printError({commandLine.text, "; run ifdsweep --help for help"});
            return kWrongUsage;
        case CommandLine::Action::print:
            return printText(commandLine.text);
        case CommandLine::Action::sweep:
            break;
    }
    OutputChoice& output = commandLine.arguments.output;
    output.toTerminal = output.file.empty() && ::isatty(STDOUT_FILENO) == 1;
    return sweepFiles(commandLine.arguments);
}

}  // namespace

int runProgram(int argumentCount, const char* const* arguments) noexcept {
    occupyStandardStreams();
    // Without a reader there is nothing to be told: the failed write ends the program. A file that
    // gets too large for a limit is a failed write too.
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGXFSZ, SIG_IGN);
    // A child that ends is waited for, whatever whoever started the program does with theirs.
    ::signal(SIGCHLD, SIG_DFL);
    try {
        if (argumentCount == 2 && std::string_view(arguments[1]) == kWorkerCommand) {
            return runWorker();
        }
        raiseDescriptorLimit();
        return runCommand(argumentCount, arguments);
    } catch (const OutputError& failure) {
        if (failure.systemError == EPIPE) {
            return kOutputClosed;
        }
        printError({"cannot write the output: ", systemErrorText(failure.systemError)});
    } catch (const Refusal& refusal) {
        printError({refusal.what()});
        return kWrongUsage;
    } catch (const RunFailure& failure) {
        printError({failure.what()});
    } catch (const std::bad_alloc&) {
        printError({"out of memory"});
    } catch (const std::exception& failure) {
        printError({"unexpected failure: ", failure.what()});
    }
    return kSomeFailed;
}

}  // namespace app
