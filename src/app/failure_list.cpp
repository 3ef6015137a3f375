#include "app/failure_list.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>

#include "app/run_failure.h"

namespace app {
namespace {

constexpr std::string_view kReasonMark = "\t# ";

}  // namespace

std::string_view pathOfFailureLine(std::string_view line) {
    return line.substr(0, line.find(kReasonMark));
}

FailureList::FailureList(const std::string& path, Mode mode, bool nulSeparated)
    : withNul(nulSeparated),
      file(::open(path.c_str(),
                  O_WRONLY | O_CREAT | O_CLOEXEC | (mode == Mode::anew ? O_TRUNC : O_APPEND),
                  0666)) {
    if (!file.isOpen()) {
        throw RunFailure("cannot write " + path + ": " + systemErrorText(errno));
    }
}

bool FailureList::canHold(std::string_view path) const {
    return withNul || (path.find('\n') == std::string_view::npos &&
                       path.find(kReasonMark) == std::string_view::npos);
}

void FailureList::add(std::string_view path, std::string_view reason) {
    std::string line(path);
    if (withNul) {
        line.push_back('\0');
    } else {
        line.append(kReasonMark).append(reason);
        std::replace(line.begin() + static_cast<std::ptrdiff_t>(path.size()), line.end(), '\n',
                     ' ');
        line.push_back('\n');
    }
    FileDescriptorSink(file.get()).write(line);
}

}  // namespace app
