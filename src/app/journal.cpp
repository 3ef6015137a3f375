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

/// Two independent hashes: two entries that share both are not to be expected in any archive.
std::pair<std::uint64_t, std::uint64_t> digestOf(std::string_view entry) {
    return {hashOf(entry, 0xcbf29ce484222325U), hashOf(entry, 0x9e3779b97f4a7c15U)};
}

char endingLetter(const FileReport& report) {
    switch (report.ending) {
        case FileReport::Ending::read:
            return report.warnings.empty() ? 'r' : 'w';
        case FileReport::Ending::failed:
            return 'f';
        case FileReport::Ending::skipped:
            break;
    }
    return 's';
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
    : file(::open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666)) {
    if (!file.isOpen()) {
        throw RunFailure("cannot open the journal " + path + ": " + systemErrorText(errno));
    }
    load();
}

void Journal::load() {
    constexpr std::size_t kPiece = std::size_t{1} << 20;
    std::uint64_t position = 0;
    while (true) {
        const std::string piece = readPiece(file.get(), position, kPiece);
        std::size_t begin = 0;
        for (std::size_t end = piece.find('\n'); end != std::string::npos;
             end = piece.find('\n', begin)) {
            if (!loadLine(std::string_view(piece).substr(begin, end - begin))) {
                throw RunFailure("the journal holds a line that is none of its own; no journal?");
            }
            begin = end + 1;
        }
        position += begin;
        if (begin == 0) {
            break;
        }
    }
    if (::ftruncate(file.get(), static_cast<off_t>(position)) != 0) {
        throw RunFailure("cannot write the journal: " + systemErrorText(errno));
    }
    std::sort(finished.begin(), finished.end());
}

bool Journal::loadLine(std::string_view line) {
    // ENDING, LENGTH, then the entry: SIZE MODIFIED PATH.
    if (line.size() < 2 || line[1] != ' ' ||
        std::string_view("rwfs").find(line[0]) == std::string_view::npos) {
        return false;
    }
    failedBefore += line[0] == 'f' ? 1U : 0U;
    warnedBefore += line[0] == 'w' ? 1U : 0U;
    line.remove_prefix(2);
    const auto length = takeWord(line);
    if (!length) {
        return false;
    }
    lastLength = *length;
    finished.push_back(digestOf(line));
    return true;
}

bool Journal::isFinished(const std::string& path, std::string& entry) const {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        status = {};
    }
    const auto modified =
        static_cast<std::int64_t>(status.st_mtim.tv_sec) * 1'000'000'000 + status.st_mtim.tv_nsec;
    entry = std::to_string(status.st_size) + ' ' + std::to_string(modified) + ' ' + escaped(path);
    return std::binary_search(finished.begin(), finished.end(), digestOf(entry));
}

void Journal::add(const FileReport& report, std::string_view entry, std::uint64_t length) {
    pending.push_back(entry.empty() ? 's' : endingLetter(report));
    pending.append(" ").append(std::to_string(length)).append(" ").append(entry).append("\n");
}

void Journal::commit() {
    if (!pending.empty()) {
        FileDescriptorSink(file.get()).write(pending);
        pending.clear();
    }
}

}  // namespace app
