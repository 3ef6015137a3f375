#include "run/failure_list.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "io/output.h"
#include "io/run_failure.h"
#include "walk/path_list.h"

namespace ifdsweep {
FailureList::FailureList(const std::string& path, bool nulSeparated, Journal* runJournal,
                         const Disk& listDisk)
    : disk(listDisk), journal(runJournal), name(path), withNul(nulSeparated), file(path, O_WRONLY) {
    check(file.error());
    if (journal == nullptr || !identity()) {
        return;
    }
    isNoted = journal->list() == markOf(file.get());
    size = journal->listLength();
    struct stat status {};
    const bool isWhole = isNoted && ::fstat(file.get(), &status) == 0 &&
                         static_cast<std::uint64_t>(status.st_size) >= size;
    if (size > 0 && !isWhole) {
        throw Refusal("the list of failures " + name + " is not the one that the journal " +
                      journal->path() + " tells of; remove the journal to start anew");
    }
}

void FailureList::note() {
    if (const auto list = markOf(file.get()); journal != nullptr && list && !isNoted) {
        journal->noteList(*list);
    }
}

void FailureList::begin() {
    file.keep();
    // The journal tells of it: on the disk, its name is to be there.
    check(journal != nullptr && file.isMade() ? disk.syncFolderOf(name) : 0);
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
    finish();
    isSynced = false;
    if (const int error = disk.write(file.get(), line); error != 0) {
        throw OutputError(error);
    }
    size += line.size();
}

void FailureList::finish() {
    if (isCut) {
        return;
    }
    isCut = true;
    if (identity()) {
        check(disk.truncate(file.get(), size));
        static_cast<void>(::lseek(file.get(), static_cast<off_t>(size), SEEK_SET));
    }
}

void FailureList::sync() {
    if (!isSynced) {
        check(disk.sync(file.get()));
        isSynced = true;
    }
}

void FailureList::check(int error) const {
    if (error != 0) {
        throw RunFailure("cannot write " + name + ": " + systemErrorText(error));
    }
}

}  // namespace ifdsweep
