#include "cli/program.h"

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
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "cli/command_help.h"
#include "cli/command_line.h"
#include "cli/pager.h"
#include "cli/read_limits.h"
#include "cli/run_description.h"
#include "io/descriptor.h"
#include "io/exit_status.h"
#include "io/interruption.h"
#include "io/output.h"
#include "io/run_failure.h"
#include "io/terminal.h"
#include "read/messages.h"
#include "run/batch_run.h"
#include "run/file_roles.h"
#include "run/journal.h"
#include "run/run_assembly.h"
#include "run/run_output.h"
#include "run/slow_file_line.h"
#include "text/error_stream.h"
#include "walk/input_files.h"
#include "walk/standard_input.h"
#include "workers/file_task.h"
#include "workers/seconds.h"
#include "workers/worker.h"
#include "write/csv_writer.h"
#include "write/framer.h"
#include "write/write_options.h"

namespace ifdsweep {
namespace {

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

Colour outputColour(const RunOptions& options) {
    if (options.run.colour != ColourChoice::automatic) {
        return options.run.colour == ColourChoice::always ? Colour::on : Colour::off;
    }
    const char* terminal = std::getenv("TERM");
    const bool capable = terminal != nullptr && std::string_view(terminal) != "dumb";
    return capable && !isSet("NO_COLOR") && options.output.toTerminal ? Colour::on : Colour::off;
}

/// Whether all there is to do is one file, which needs no process of its own: nothing comes after
/// it that could be lost with it.
bool isOneFile(const RunOptions& options) {
    struct stat status {};
    const RunChoice& run = options.run;
    return options.input.paths.size() == 1 && options.input.listFile.empty() &&
           options.run.outputFile.empty() && run.failureFile.empty() && run.journal.empty() &&
           !options.workers.jobs &&
           (options.input.paths[0] == kStandardInput ||
            (::stat(options.input.paths[0].c_str(), &status) == 0 && S_ISREG(status.st_mode)));
}

/// Asks whether a signal ends the program, on behalf of what writes its output.
auto signalCheck(const Interruption& interruption) {
    return [&interruption] { return interruption.signal() != 0; };
}

/// What is printed of one file that is not read in time.
LateEnding makeLateEnding(const RunOptions& options, const InputFile& file, Colour colour,
                          double seconds) {
    StringSink sink;
    Output output(sink);
    FileTask task(options, output, colour, -1);
    const FileReport report = task.fail(
        file, qxMessage(kTimeoutId, {qxMessageText(secondsText(nanosecondsOf(seconds)))}));
    Frame frame = frameOf(writeOptions(options.output));
    if (options.output.hasOpenColumns()) {
        // Of the table that the rows would have become.
        frame.head = csvHeader({}, writeOptions(options.output));
    }
    Framer framer(output, std::move(frame));
    framer.begin();
    framer.add(report.isShown, [&task] { task.write(); });
    framer.end();
    output.flush();
    return {std::move(sink.text), errorLine({file.path, ": ", report.failure})};
}

FileReport readOneFile(const RunOptions& options, const InputFile& file, Colour colour,
                       FileTask& task) {
    if (!file.failure.empty()) {
        return task.fail(file, inputFailure(file.failure));
    }
    WorkerChoice choice = options.workers;
    choice.memory = choice.memory.value_or(kLeastDefaultMemory);  // the machine is not asked yet
    const double seconds = workerLimits(choice, 1).timeout;
    const LateEnding ending = makeLateEnding(options, file, colour, seconds);
    task.setMemory([&choice = options.workers] { return workerLimits(choice, 1).memory; });
    std::optional<qxMessage> failure;
    {
        const SlowFileLine line(options, file.path);
        const TimeLimit time(seconds, ending);
        const MemoryLimit memory(options.workers);
        failure = outOfMemory();
        try {
            return task.read(file);
        } catch (const std::bad_alloc&) {
            // Too little even for telling so; there is more once the limit is gone.
        }
    }
    return task.fail(file, *failure);
}

int runOneFile(const RunOptions& options, RunOutput& output, int standardInput,
               Interruption& interruption) {
    RunAssembly assembly(options, output, nullptr);
    const Colour colour = outputColour(options);
    FileTask task(options, output.stream(), colour, standardInput);
    const InputFile file = InputFiles(options.input, output.identities()).next().value();
    interruption.endAtOnce();  // nothing is written that could be left half done
    const FileReport report = readOneFile(options, file, colour, task);
    interruption.takeNote();
    assembly.begin();
    assembly.add(file, report, [&task] { task.write(); });
    assembly.end();
    return assembly.tally().exitStatus(options.run.strict);
}

int runManyFiles(const RunOptions& options, int standardInput, const Interruption& interruption) {
    checkFileRoles(options);
    std::optional<Journal> journal;
    if (!options.run.journal.empty()) {
        journal.emplace(options.run.journal, describeRun(options));
    }
    RunOutput output(options, journal ? &*journal : nullptr, signalCheck(interruption));
    BatchRun batch(options, output, journal ? &*journal : nullptr, outputColour(options),
                   standardInput, interruption);
    try {
        batch.run();
    } catch (const OutputStopped&) {
        return batch.conclude(interruption.signal());
    } catch (const OutputError& error) {
        if (options.run.outputFile.empty() || error.systemError == EPIPE) {
            throw;
        }
        throw RunFailure("cannot write " + options.run.outputFile + ": " +
                         systemErrorText(error.systemError));
    }
    // A signal that comes from here on is too late: what is said must be what was done.
    const int signal = interruption.signal();
    if (signal == 0) {
        output.finish();
    }
    return batch.conclude(signal);
}

int runFiles(const RunOptions& options) {
    const auto& paths = options.input.paths;
    Descriptor standardInput;
    if (std::find(paths.begin(), paths.end(), kStandardInput) != paths.end()) {
        standardInput = openStandardInput();
    }
    Interruption interruption;
    if (!isOneFile(options)) {
        return runManyFiles(options, standardInput.get(), interruption);
    }
    try {
        RunOutput output(options, nullptr, signalCheck(interruption));
        return runOneFile(options, output, standardInput.get(), interruption);
    } catch (const OutputStopped&) {
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

/// The columns of the terminal that shows what is printed, or those where there is none.
std::size_t helpColumns() {
    winsize size{};
    const bool isKnown = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? size.ws_col : kHelpColumns;
}

int printText(const std::string& text) {
    FileDescriptorSink sink(STDOUT_FILENO);
    Output output(sink);
    output.append(text);
    output.flush();
    return kAllRead;
}

bool readsStandardInput(const InputChoice& input) {
    return input.listFile == kStandardInput ||
           std::find(input.paths.begin(), input.paths.end(), kStandardInput) != input.paths.end();
}

/// Whether the standard input is typed on the terminal, whose keys a pager takes.
bool readsKeys(const InputChoice& input) {
    return readsStandardInput(input) && ::isatty(STDIN_FILENO) == 1;
}

/// Whether a run's output is for reading in a pager. A journal is kept once, and so is the work.
bool isForPager(const RunOptions& options) {
    return options.run.pager && options.output.format == Format::text &&
           options.run.outputFile.empty() && options.run.journal.empty() &&
           !readsKeys(options.input) && hasTerminalForPager();
}

int runCommand(int argumentCount, const char* const* arguments) {
    CommandLine commandLine = parseCommandLine(argumentCount, arguments, helpColumns());
    switch (commandLine.action) {
        case CommandLine::Action::usage:
            printError({commandLine.text, "; run ifdsweep --help for help"});
            return kWrongUsage;
        case CommandLine::Action::print:
            if (commandLine.options.run.pager && hasTerminalForPager() &&
                !fitsTerminal(commandLine.text)) {
                if (const auto ended = splitForPager(WorkAgain::allowed)) {
                    return *ended;
                }
            }
            return printText(commandLine.text);
        case CommandLine::Action::read:
            break;
    }
    RunOptions& options = commandLine.options;
    options.output.toTerminal = options.run.outputFile.empty() && ::isatty(STDOUT_FILENO) == 1;
    if (options.output.toTerminal) {
        options.output.lineWidth = terminalColumns(STDOUT_FILENO).value_or(0);
    }
    if (options.output.toTerminal && options.output.format == Format::packed) {
        throw Refusal(
            "--format packed writes no text, and a terminal shows nothing else: write to a "
            "pipe, or to a file with --output");
    }
    // What is known of the terminal is known from here on: the standard output may be a pipe then.
    if (isForPager(options)) {
        const bool isOnce = readsStandardInput(options.input);
        if (const auto ended = splitForPager(isOnce ? WorkAgain::forbidden : WorkAgain::allowed)) {
            return *ended;
        }
    }
    return runFiles(options);
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

}  // namespace ifdsweep
