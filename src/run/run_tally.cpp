#include "run/run_tally.h"

#include "text/count_text.h"

namespace ifdsweep {

void RunTally::add(const FileReport& report) {
    switch (report.ending) {
        case FileReport::Ending::skipped:
            ++filesSkipped;
            break;
        case FileReport::Ending::read:
            ++filesRead;
            break;
        case FileReport::Ending::failed:
            ++filesFailed;
            break;
    }
    directories += report.directories;
    anyWarned |= report.isWarned();
    for (const auto& [id, count] : report.warnings) {
        warningCounts[id] += count;
    }
}

void RunTally::addFinishedBefore(Journal::Ending ending) {
    ++filesBefore;
    failedBefore += ending == Journal::Ending::failed ? 1 : 0;
    anyWarnedBefore |= ending == Journal::Ending::warned;
}

std::string RunTally::text() const {
    std::string text = countText(filesRead, "file", "files") + " read, " +
                       std::to_string(filesFailed) + " failed, " +
                       countText(directories, "directory", "directories");
    if (filesSkipped > 0) {
        text += "; no images: " + countText(filesSkipped, "file", "files");
    }
    if (filesBefore > 0) {
        text += "; finished before: " + countText(filesBefore, "file", "files");
        text += failedBefore > 0 ? ", " + std::to_string(failedBefore) + " failed" : "";
    }
    return text;
}

ExitStatus RunTally::exitStatus(bool strict) const {
    if (filesFailed > 0 || failedBefore > 0) {
        return kSomeFailed;
    }
    const bool warned = anyWarned || anyWarnedBefore;
    return strict && warned ? kSomeWarned : kAllRead;
}

}  // namespace ifdsweep
