#include "walk/path_list.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "io/output.h"
#include "io/run_failure.h"
#include "walk/input_file.h"

namespace ifdsweep {

std::string_view pathOfFailureLine(std::string_view line) {
    return line.substr(0, line.find(kReasonMark));
}

PathList::PathList(const std::string& path, bool nulSeparated)
    : file(path == kStandardInput ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                  : ::open(path.c_str(), O_RDONLY | O_CLOEXEC)),
      lineEnd(nulSeparated ? '\0' : '\n') {
    if (!file.isOpen()) {
        throw RunFailure("cannot open the list " + path + ": " + systemErrorText(errno));
    }
}

bool PathList::isReady() {
    pollfd ready{file.get(), POLLIN, 0};
    while (findEnd() == std::string::npos) {
        if (::poll(&ready, 1, 0) == 0) {
            return false;
        }
        if (!fill()) {
            return true;
        }
    }
    return true;
}

std::optional<std::string> PathList::next() {
    std::size_t end = findEnd();
    while (end == std::string::npos && fill()) {
        end = findEnd();
    }
    if (begin == bytes.size()) {
        return std::nullopt;
    }
    std::string line = bytes.substr(begin, end - begin);
    begin = end == std::string::npos ? bytes.size() : end + 1;
    searched = begin;
    ++lineNumber;
    return line;
}

std::size_t PathList::findEnd() {
    const std::size_t end = bytes.find(lineEnd, searched);
    searched = end == std::string::npos ? bytes.size() : end;
    return end;
}

bool PathList::fill() {
    constexpr std::size_t kPiece = std::size_t{64} * 1024;
    bytes.erase(0, begin);
    searched -= std::exchange(begin, 0);
    const std::size_t before = bytes.size();
    bytes.resize(before + kPiece);
    ssize_t got = 0;
    do {
        got = ::read(file.get(), bytes.data() + before, kPiece);
    } while (got < 0 && errno == EINTR);
    const int error = errno;
    bytes.resize(before + static_cast<std::size_t>(got > 0 ? got : 0));
    if (got < 0) {
        throw OutputError(error);
    }
    return got > 0;
}

}  // namespace ifdsweep
