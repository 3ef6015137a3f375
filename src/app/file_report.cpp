#include "app/file_report.h"

#include "app/packed.h"

namespace app {

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

FileReport unpackReport(std::string_view& bytes) {
    FileReport report;
    report.ending = static_cast<FileReport::Ending>(packed::takeNumber(bytes));
    report.directories = packed::takeNumber(bytes);
    report.failure = packed::takeText(bytes);
    report.warnings.resize(packed::takeNumber(bytes));
    for (auto& [id, count] : report.warnings) {
        id = packed::takeText(bytes);
        count = packed::takeNumber(bytes);
    }
    report.isShown = packed::takeNumber(bytes) != 0;
    return report;
}

}  // namespace app
