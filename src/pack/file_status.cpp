#include "pack/file_status.h"

#include <algorithm>
#include <array>
#include <utility>

#include "files/file_messages.h"
#include "ifdsweep/message_catalogue.h"
#include "read/messages.h"

namespace ifdsweep {
namespace {

/// What an error says of the reading; every other says that the file holds nothing to be read.
constexpr std::array kErrors{
    std::pair{std::string_view(kTimeoutId), FileStatus::timeout},
    std::pair{std::string_view(kStuckId), FileStatus::timeout},
    std::pair{std::string_view(kOutOfMemoryId), FileStatus::memory},
    std::pair{std::string_view(kWorkerDiedId), FileStatus::crashed},
    std::pair{std::string_view(kNoWorkerId), FileStatus::unreadable},
    std::pair{std::string_view(kInputFailureId), FileStatus::unreadable},
    std::pair{std::string_view(kOpenFailureId), FileStatus::unreadable},
    std::pair{std::string_view(kReadFailedId), FileStatus::unreadable},
    std::pair{std::string_view(messageRow(MessageId::statFailure).id), FileStatus::unreadable},
};

/// By the numbers of the statuses.
constexpr std::array<std::string_view, 7> kWords{
    "ok", "warned", "error", "timeout", "memory", "crashed", "unreadable",
};

FileStatus statusOfError(std::string_view id) noexcept {
    const auto* const known = std::find_if(kErrors.begin(), kErrors.end(),
                                           [id](const auto& error) { return error.first == id; });
    return known == kErrors.end() ? FileStatus::error : known->second;
}

}  // namespace

FileStatus statusOf(const PackedFile& file) noexcept {
    const auto idOf = [&](const PackedMessageRow& message) { return file.name(message.id); };
    FileStatus status = FileStatus::ok;
    for (const PackedStreamRow& stream : file.streams()) {
        if (stream.error != kNoRow) {
            return statusOfError(idOf(file.messages()[stream.error]));
        }
        const auto warnings = file.messages().subspan(stream.firstWarning, stream.warningCount);
        if (std::any_of(warnings.begin(), warnings.end(), [&](const PackedMessageRow& warning) {
                return !tellsOfWhatIsLeftOut(idOf(warning));
            })) {
            status = FileStatus::warned;
        }
    }
    return status;
}

std::string_view statusWord(FileStatus status) noexcept {
    return kWords[static_cast<std::size_t>(status)];
}

}  // namespace ifdsweep
