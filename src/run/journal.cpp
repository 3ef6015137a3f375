#include "run/journal.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>

#include <fcntl.h>
#include <sys/stat.h>

#include "io/output.h"
#include "io/run_failure.h"

namespace ifdsweep {
namespace {

constexpr std::string_view kFirstLine = "ifdsweep journal 2\n";
constexpr std::string_view kOlderFirstLine = "ifdsweep journal 1\n";
constexpr std::string_view kHeadEnd = "\n\n";

// In the order of the endings.
constexpr std::string_view kEndingLetters = "rwfs";
constexpr std::uint64_t kEndingBits = 3;

constexpr char kReasonMark = '\t';

std::string escaped(std::string_view path) {
    std::string text;
    for (const char character : path) {
        const bool isSpecial = character == '\\' || character == '\n' || character == kReasonMark;
        if (isSpecial) {
            text.push_back('\\');
        }
        text.push_back(character == '\n' ? 'n' : character == kReasonMark ? 't' : character);
    }
    return text;
}

Journal::Ending endingOfReport(const FileReport& report) {
    switch (report.ending) {
        case FileReport::Ending::read:
            return report.isWarned() ? Journal::Ending::warned : Journal::Ending::read;
        case FileReport::Ending::failed:
            return Journal::Ending::failed;
        case FileReport::Ending::skipped:
            break;
    }
    return Journal::Ending::skipped;
}

/// Takes a number and the space after it, which the last one of a line may lack.
template <class Number>
bool takeNumber(std::string_view& text, Number& number) {
    const char* const textEnd = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), textEnd, number);
    if (error != std::errc() || (end != textEnd && *end != ' ')) {
        return false;
    }
    text.remove_prefix(std::min(text.size(), static_cast<std::size_t>(end - text.data()) + 1));
    return true;
}

bool takeMark(std::string_view& text, FileMark& mark) {
    return takeNumber(text, mark.identity.first) && takeNumber(text, mark.identity.second) &&
           takeNumber(text, mark.bornSeconds) && takeNumber(text, mark.bornNanoseconds);
}

std::string markText(const FileMark& mark) {
    return std::to_string(mark.identity.first) + ' ' + std::to_string(mark.identity.second) + ' ' +
           std::to_string(mark.bornSeconds) + ' ' + std::to_string(mark.bornNanoseconds);
}

/// The path of an entry SIZE SECONDS NANOSECONDS PATH, escaped and without a reason; none when it
/// is no entry.
std::optional<std::string_view> pathOfEntry(std::string_view entry) {
    std::uint64_t size = 0;
    std::int64_t seconds = 0;
    std::uint64_t nanoseconds = 0;
    if (!takeNumber(entry, size) || !takeNumber(entry, seconds) ||
        !takeNumber(entry, nanoseconds) || entry.empty()) {
        return std::nullopt;
    }
    return entry.substr(0, entry.find(kReasonMark));
}

std::string joined(const std::vector<std::string>& phrases) {
    std::string text;
    for (const std::string& phrase : phrases) {
        text.append(text.empty() ? "" : ", ").append(phrase);
    }
    return text;
}

/// Whether a file may be a journal that ended while it was begun: a part of what stands first in
/// it, and no more than NULs where the power failed to bring the rest to the disk.
bool isUnbegun(std::string_view bytes, std::string_view head) {
    constexpr std::size_t kLongestNotes = 512;
    const std::size_t written = std::min(bytes.find('\0'), bytes.size());
    return head.starts_with(bytes.substr(0, written)) &&
           bytes.find_first_not_of('\0', written) == std::string_view::npos &&
           bytes.size() <= head.size() + kLongestNotes;
}

std::string headOf(const std::vector<std::string>& phrases) {
    std::string head(kFirstLine);
    for (const std::string& phrase : phrases) {
        head.append(phrase).push_back('\n');
    }
    return head + '\n';
}

}  // namespace

Journal::Journal(const std::string& path, const std::vector<std::string>& runPhrases,
                 const Disk& journalDisk)
    : disk(journalDisk), name(path), phrases(runPhrases), file(path, O_RDWR | O_APPEND) {
    if (file.error() != 0) {
        throw RunFailure("cannot open the journal " + name + ": " + systemErrorText(file.error()));
    }
    if (!identity()) {
        throw Refusal("the journal " + name + " is no file");
    }
    lock();
    try {
        load();
    } catch (const OutputError& error) {
        throw RunFailure("cannot read the journal " + name + ": " +
                         systemErrorText(error.systemError));
    }
    std::sort(finished.begin(), finished.end(),
              [](const Finished& left, const Finished& right) { return left.path < right.path; });
    isGiven.resize(finished.size());
}

void Journal::lock() {
    // A lock of the process: it goes with it, is not handed on to a worker, and tells who has it.
    struct flock range {};
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    if (::fcntl(file.get(), F_SETLK, &range) == 0 || (errno != EACCES && errno != EAGAIN)) {
        // There are file systems without locks. A run that was refused may have taken the file away
        // again meanwhile.
        if (markOf(name) != markOf(file.get())) {
            throw Refusal("the journal " + name +
                          " was in use a moment ago; run the command again");
        }
        return;
    }
    file.keep();  // it is the other run's by now, whoever made it
    std::string holder = "another process";
    if (::fcntl(file.get(), F_GETLK, &range) == 0 && range.l_type != F_UNLCK && range.l_pid > 0) {
        holder = "process " + std::to_string(range.l_pid);
    }
    throw Refusal("the journal " + name + " is in use by " + holder);
}

void Journal::load() {
    constexpr std::size_t kLongestHead = std::size_t{1} << 20;
    const std::string ownHead = headOf(phrases);
    const std::string start = readPiece(file.get(), 0, kLongestHead);
    if (isUnbegun(start, ownHead)) {
        return;  // or new
    }
    if (start.starts_with(kOlderFirstLine)) {
        throw Refusal("the journal " + name +
                      " was begun by an older ifdsweep; end that run with it, or remove the "
                      "journal to start anew");
    }
    const std::size_t end = start.find(kHeadEnd);
    if (!start.starts_with(kFirstLine) || end == std::string::npos) {
        throw Refusal(name + " is no journal of ifdsweep and is left as it is");
    }
    checkHead(std::string_view(start).substr(0, end + 1));
    wholeLines = end + kHeadEnd.size();
    loadLines();
}

void Journal::checkHead(std::string_view head) const {
    std::vector<std::string> before;
    std::vector<std::string> now;
    head.remove_prefix(kFirstLine.size());
    std::size_t line = 0;
    for (; !head.empty(); ++line) {
        const std::size_t end = head.find('\n');
        const std::string phrase(head.substr(0, end));
        head.remove_prefix(end + 1);
        if (line >= phrases.size() || phrase != phrases[line]) {
            before.push_back(phrase);
            if (line < phrases.size()) {
                now.push_back(phrases[line]);
            }
        }
        if (line == 0 && !before.empty()) {
            break;  // another version has other phrases
        }
    }
    if (!before.empty()) {
        throw Refusal("the journal " + name + " was begun with " + joined(before) + ", now " +
                      joined(now) + "; run it as before, or remove the journal to start anew");
    }
    if (line != phrases.size()) {
        throw Refusal(name + " is no journal of ifdsweep and is left as it is");
    }
}

void Journal::loadLines() {
    constexpr std::size_t kPiece = std::size_t{1} << 20;
    std::size_t wanted = kPiece;
    while (true) {
        std::string piece = readPiece(file.get(), wholeLines, wanted);
        const bool isRest = piece.size() < wanted;
        // No path holds a NUL: this is a block that the power failed to bring to the disk.
        const std::size_t lost = piece.find('\0');
        piece.resize(std::min(lost, piece.size()));
        std::size_t begin = 0;
        for (std::size_t end = piece.find('\n'); end != std::string::npos;
             end = piece.find('\n', begin)) {
            if (!loadLine(std::string_view(piece).substr(begin, end - begin))) {
                throw Refusal("the journal " + name + " holds a line that is none of its own");
            }
            begin = end + 1;
        }
        wholeLines += begin;
        if (isRest || lost != std::string::npos) {
            return;
        }
        wanted = begin == 0 ? 2 * wanted : kPiece;  // a list may hold a path of any length
    }
}

bool Journal::loadLine(std::string_view line) {
    if (line.size() < 2 || line[1] != ' ') {
        return false;
    }
    const std::size_t ending = kEndingLetters.find(line[0]);
    if (ending == std::string_view::npos) {
        return loadNote(line[0], line.substr(2));
    }
    line.remove_prefix(2);
    Lengths after;
    if (!takeNumber(line, after.output) || !takeNumber(line, after.list) || !pathOfEntry(line)) {
        return false;
    }
    lengths = after;
    finished.push_back(digestOf(line));
    finished.back().state |= ending;
    return true;
}

bool Journal::loadNote(char kind, std::string_view line) {
    switch (kind) {
        case 'o': {
            OutputNote note;
            if (!takeMark(line, note.mark) || !takeNumber(line, note.start)) {
                return false;
            }
            takeOutputNote(note);
            return line.empty();
        }
        case 'l':
            return takeMark(line, listNote.emplace()) && line.empty();
        case 'd':
            wholeNote = WholeNote{outputNote.value_or(OutputNote()), lengths.output, 0};
            return outputNote && takeNumber(line, wholeNote->size) && line.empty();
        default:
            return false;
    }
}

void Journal::takeOutputNote(const OutputNote& note) {
    outputNote = note;
    if (finished.empty()) {
        lengths.output = note.start;
    }
}

Journal::Finished Journal::digestOf(std::string_view entry) const {
    const std::string_view path = pathOfEntry(entry).value_or(std::string_view());
    return {keyedHash(path, key), keyedHash(entry, key) & ~kEndingBits};
}

std::span<const Journal::Finished> Journal::ofPath(const Finished& digest) const {
    const auto [begin, end] = std::equal_range(
        finished.begin(), finished.end(), digest,
        [](const Finished& left, const Finished& right) { return left.path < right.path; });
    return {begin, end};
}

bool Journal::isFinished(const Finished& digest) const {
    const std::span<const Finished> before = ofPath(digest);
    return std::any_of(before.begin(), before.end(), [&digest](const Finished& each) {
        return (each.state & ~kEndingBits) == digest.state;
    });
}

void Journal::countChange(const Finished& digest) {
    const std::span<const Finished> before = ofPath(digest);
    if (before.empty() || isFinished(digest)) {
        return;
    }
    const auto ended = [before](Ending ending) {
        return std::any_of(before.begin(), before.end(), [ending](const Finished& each) {
            return static_cast<Ending>(each.state & kEndingBits) == ending;
        });
    };
    if (ended(Ending::read) || ended(Ending::warned)) {
        ++changed.read;
    } else if (ended(Ending::failed)) {
        ++changed.failed;
    }
}

std::optional<Journal::Ending> Journal::endingOf(const InputFile& input, std::string& entry) {
    struct stat status {};
    if (!input.failure.empty() || ::stat(input.path.c_str(), &status) != 0) {
        status = {};
    }
    entry = std::to_string(status.st_size) + ' ' + std::to_string(status.st_mtim.tv_sec) + ' ' +
            std::to_string(status.st_mtim.tv_nsec) + ' ' + escaped(input.path);
    if (!input.failure.empty()) {
        entry.append(1, kReasonMark).append(escaped(input.failure));
    }
    const Finished digest = digestOf(entry);
    for (const Finished& each : ofPath(digest)) {
        const auto index = static_cast<std::size_t>(&each - finished.data());
        if ((each.state & ~kEndingBits) == digest.state && !isGiven[index]) {
            isGiven[index] = true;
            return static_cast<Ending>(each.state & kEndingBits);
        }
    }
    return std::nullopt;
}

void Journal::noteOutput(const OutputNote& note) {
    takeOutputNote(note);
    pending.append("o ").append(markText(note.mark)).append(" ");
    pending.append(std::to_string(note.start)).append("\n");
}

void Journal::noteList(const FileMark& list) {
    listNote = list;
    pending.append("l ").append(markText(list)).append("\n");
}

void Journal::begin() {
    const bool isNew = wholeLines == 0;
    struct stat status {};
    const bool isCut = ::fstat(file.get(), &status) == 0 &&
                       static_cast<std::uint64_t>(status.st_size) != wholeLines;
    if (isCut) {
        check(disk.truncate(file.get(), wholeLines));
    }
    if (isNew) {
        pending.insert(0, headOf(phrases));
    }
    file.keep();
    if (!pending.empty()) {
        appendPending();
        sync();
    }
    if (isNew) {
        check(disk.syncFolderOf(name));
    }
}

void Journal::add(const FileReport& report, std::string_view entry, std::uint64_t outputLength,
                  std::uint64_t listLength) {
    countChange(digestOf(entry));
    pending.push_back(kEndingLetters[static_cast<std::size_t>(endingOfReport(report))]);
    pending.append(" ").append(std::to_string(outputLength));
    pending.append(" ").append(std::to_string(listLength));
    pending.append(" ").append(entry).append("\n");
    lengths = {outputLength, listLength};
}

bool Journal::isDue() const {
    return !pending.empty() && disk.now() >= nextCommit;
}

void Journal::pauseSince(std::chrono::steady_clock::time_point start) {
    // One part in seventeen of the time at most; what is done again after a sudden end was done
    // within a second.
    constexpr int kPauses = 16;
    constexpr std::chrono::seconds kLongest{1};
    const auto end = disk.now();
    nextCommit =
        end + std::min<std::chrono::steady_clock::duration>(kPauses * (end - start), kLongest);
}

void Journal::noteWhole(std::uint64_t size) {
    wholeNote = WholeNote{outputNote.value_or(OutputNote()), lengths.output, size};
    pending.append("d ").append(std::to_string(size)).append("\n");
    appendPending();
    sync();
}

void Journal::appendPending() {
    const std::string bytes = std::exchange(pending, std::string());
    append(bytes);
}

void Journal::append(std::string_view bytes) const {
    check(disk.write(file.get(), bytes));
}

void Journal::sync() const {
    check(disk.sync(file.get()));
}

void Journal::check(int error) const {
    if (error != 0) {
        throw RunFailure("cannot write the journal " + name + ": " + systemErrorText(error));
    }
}

}  // namespace ifdsweep
