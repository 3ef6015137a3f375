#include "app/journal.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>

#include "app/output.h"
#include "app/run_failure.h"

namespace app {
namespace {

constexpr std::string_view kFirstLine = "ifdsweep journal 1\n";

// In the order of the endings.
constexpr std::string_view kEndingLetters = "rwfs";
constexpr std::uint64_t kEndingBits = 3;

std::string escaped(std::string_view path) {
    std::string text;
    for (const char character : path) {
        if (character == '\\' || character == '\n') {
            text.push_back('\\');
        }
        text.push_back(character == '\n' ? 'n' : character);
    }
    return text;
}

/// FNV-1a with a seed of its own.
std::uint64_t hashOf(std::string_view bytes, std::uint64_t seed) {
    std::uint64_t hash = seed;
    for (const char byte : bytes) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
        hash ^= hash >> 29;
    }
    return hash;
}

/// Two independent hashes with room for an ending: two entries that share both are not to be
/// expected in any archive.
std::pair<std::uint64_t, std::uint64_t> digestOf(std::string_view entry) {
    return {hashOf(entry, 0xcbf29ce484222325U), hashOf(entry, 0x9e3779b97f4a7c15U) & ~kEndingBits};
}

Journal::Ending endingOfReport(const FileReport& report) {
    switch (report.ending) {
        case FileReport::Ending::read:
            return report.warnings.empty() ? Journal::Ending::read : Journal::Ending::warned;
        case FileReport::Ending::failed:
            return Journal::Ending::failed;
        case FileReport::Ending::skipped:
            break;
    }
    return Journal::Ending::skipped;
}

std::optional<std::uint64_t> takeWord(std::string_view& text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const auto size = static_cast<std::size_t>(end - text.data());
    if (error != std::errc() || size == text.size() || *end != ' ') {
        return std::nullopt;
    }
    text.remove_prefix(size + 1);
    return number;
}

}  // namespace

Journal::Journal(const std::string& path)
    : name(path), file(::open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666)) {
    if (!file.isOpen()) {
        throw RunFailure("cannot open the journal " + name + ": " + systemErrorText(errno));
    }
    if (!identity()) {
        throw RunFailure("the journal " + name + " is no file");
    }
    load();
    std::sort(finished.begin(), finished.end());
}

void Journal::load() {
    const std::string start = readPiece(file.get(), 0, kFirstLine.size());
    if (start == kFirstLine) {
        loadLines();
    } else if (kFirstLine.starts_with(start)) {
        cutBehind(0);  // new, or ended while it was begun
        append(kFirstLine);
    } else {
        throw RunFailure(name + " is no journal of ifdsweep and is left as it is");
    }
}

void Journal::loadLines() {
    constexpr std::size_t kPiece = std::size_t{1} << 20;
    std::uint64_t position = kFirstLine.size();
    while (true) {
        const std::string piece = readPiece(file.get(), position, kPiece);
        std::size_t begin = 0;
        for (std::size_t end = piece.find('\n'); end != std::string::npos;
             end = piece.find('\n', begin)) {
            if (!loadLine(std::string_view(piece).substr(begin, end - begin))) {
                throw RunFailure("the journal " + name + " holds a line that is none of its own");
            }
            begin = end + 1;
        }
        position += begin;
        if (begin == 0) {
            break;
        }
    }
    cutBehind(position);
}

void Journal::cutBehind(std::uint64_t length) {
    if (::ftruncate(file.get(), static_cast<off_t>(length)) != 0) {
        throw RunFailure("cannot write the journal " + name + ": " + systemErrorText(errno));
    }
}

void Journal::append(std::string_view bytes) {
    try {
        FileDescriptorSink(file.get()).write(bytes);
    } catch (const OutputError& error) {
        throw RunFailure("cannot write the journal " + name + ": " +
                         systemErrorText(error.systemError));
    }
}

bool Journal::loadLine(std::string_view line) {
    // ENDING, LENGTH, then the entry: SIZE MODIFIED PATH.
    const std::size_t ending =
        line.size() < 2 || line[1] != ' ' ? std::string_view::npos : kEndingLetters.find(line[0]);
    if (ending == std::string_view::npos) {
        return false;
    }
    line.remove_prefix(2);
    const auto length = takeWord(line);
    if (!length) {
        return false;
    }
    lastLength = *length;
    finished.push_back(digestOf(line));
    finished.back().second |= ending;
    return true;
}

std::optional<Journal::Ending> Journal::endingOf(const InputFile& input, std::string& entry) const {
    struct stat status {};
    if (!input.failure.empty() || ::stat(input.path.c_str(), &status) != 0) {
        status = {};
    }
    const auto modified =
        static_cast<std::int64_t>(status.st_mtim.tv_sec) * 1'000'000'000 + status.st_mtim.tv_nsec;
    entry =
        std::to_string(status.st_size) + ' ' + std::to_string(modified) + ' ' + escaped(input.path);
    if (!input.failure.empty()) {
        entry += "\t# " + escaped(input.failure);
    }
    const Finished digest = digestOf(entry);
    const auto found = std::lower_bound(finished.begin(), finished.end(), digest);
    const bool isFinished = found != finished.end() && found->first == digest.first &&
                            (found->second & ~kEndingBits) == digest.second;
    return isFinished ? std::optional(static_cast<Ending>(found->second & kEndingBits))
                      : std::nullopt;
}

void Journal::add(const FileReport& report, std::string_view entry, std::uint64_t length) {
    pending.push_back(kEndingLetters[static_cast<std::size_t>(endingOfReport(report))]);
    pending.append(" ").append(std::to_string(length)).append(" ").append(entry).append("\n");
}

void Journal::commit() {
    if (!pending.empty()) {
        append(pending);
        pending.clear();
    }
}

}  // namespace app
