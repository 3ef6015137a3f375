#include "workers/file_report.h"

#include <algorithm>

#include "read/messages.h"

namespace ifdsweep {

bool FileReport::isWarned() const {
    return std::any_of(warnings.begin(), warnings.end(),
                       [](const auto& counted) { return !tellsOfWhatIsLeftOut(counted.first); });
}

FileReport failureReport(std::string failure) {
    FileReport report;
    report.ending = FileReport::Ending::failed;
    report.failure = std::move(failure);
    return report;
}

void packReport(std::string& bytes, const FileReport& report) {
    packed::putNumber(bytes, static_cast<std::uint64_t>(report.ending));
    packed::putNumber(bytes, report.directories);
    packed::putText(bytes, report.failure);
    packed::putNumber(bytes, report.warnings.size());
    for (const auto& [id, count] : report.warnings) {
        packed::putText(bytes, id);
        packed::putNumber(bytes, count);
    }
    packed::putNumber(bytes, report.isShown ? 1 : 0);
}

FileReport unpackReport(Unpacker& bytes) {
    FileReport report;
    report.ending = bytes.choice(FileReport::Ending::skipped);
    report.directories = bytes.number();
    report.failure = bytes.text();
    // No room is made because a count says so: each warning is seen before the next.
    for (std::uint64_t left = bytes.number(); left > 0 && !bytes.hasFailed(); --left) {
        std::string id(bytes.text());
        report.warnings.emplace_back(std::move(id), bytes.number());
    }
    report.isShown = bytes.flag();
    return report;
}

}  // namespace ifdsweep
