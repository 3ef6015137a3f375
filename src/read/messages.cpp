#include "read/messages.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include <sys/resource.h>

#include "check/check_messages.h"
#include "host/message_texts.h"
#include "ifdsweep/message_catalogue.h"
#include "locate/locate_messages.h"
#include "text/nearest_names.h"

namespace ifdsweep {
namespace {

// clang-format off
constexpr std::array<MessageTextRow, 7> kOwnTexts{{
    {kOutOfMemoryId, "t",
     "out of memory: {1}",
     "The file's records need more memory than there is, or than --memory allows. Argument: what there was.",
     "Read fewer directories with --max, or allow more with --memory."},
    {kUnexpectedFailureId, "t",
     "unexpected failure: {1}",
     "A failure that no file should lead to. Argument: what happened.",
     "Please report the file."},
    {kWorkerDiedId, "t",
     "the process that read the file ended: {1}",
     "The worker process was ended from outside or by a fault while it read this file; the other files are not touched by it. Argument: how it ended.",
     "Read the file again by itself. If it happens again, please report the file."},
    {kNoWorkerId, "t",
     "no process can be started to read the file: {1}",
     "Files are read by processes of their own, and the system gives none: their number, the memory or the open files are at a limit. Argument: the system's reason.",
     "Read the file again when there is more, or with fewer --jobs."},
    {kStuckId, "t",
     "the process that reads the file cannot be ended: {1}",
     "Reading the file took longer than --timeout allows, and the process does not end: most often the file system or the network has stopped answering. The process is left behind; it ends when the file system answers. Argument: the process and the time.",
     "Check the storage, then read the file again."},
    {kTimeoutId, "t",
     "not finished within {1} s, the limit of --timeout",
     "Reading the file took longer than --timeout allows. Argument: the seconds.",
     "Allow more with --timeout, or set a smaller --read-budget."},
    {kInputFailureId, "t",
     "{1}",
     "A file or folder that was to be read cannot be opened or is no input. Argument: the reason.",
     "Do as the reason says: check the path, its permissions, and that it is not what the run writes to."},
}};
// clang-format on

const MessageTextRow* findOwn(std::string_view id) noexcept {
    for (const std::span<const MessageTextRow> rows :
         {checkTexts(), locateTexts(), std::span<const MessageTextRow>(kOwnTexts)}) {
        for (const MessageTextRow& row : rows) {
            if (row.id == id) {
                return &row;
            }
        }
    }
    return nullptr;
}

constexpr std::uint64_t kMebibyte = std::uint64_t{1} << 20;

std::string memoryText(std::uint64_t bytes) {
    return bytes % kMebibyte == 0 ? std::to_string(bytes / kMebibyte) + " MiB"
                                  : std::to_string(bytes) + " bytes";
}

}  // namespace

// The rows have their ids from literals, which end with a NUL.
const char* constantMessageId(std::string_view id) noexcept {
    const MessageTextRow* own = findOwn(id);
    const MessageTextRow* row = own == nullptr ? findMessageText(id) : own;
    return row == nullptr ? nullptr : row->id.data();
}

qxMessage inputFailure(const std::string& reason) {
    return {kInputFailureId, {qxMessageText(reason)}};
}

qxMessage outOfMemory() {
    rlimit limit{};
    const bool isLimited = ::getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
    return {kOutOfMemoryId,
            {qxMessageText(isLimited ? "the limit is " + memoryText(limit.rlim_cur) + " (--memory)"
                                     : std::string("the system gives no more"))}};
}

bool tellsOfWhatIsLeftOut(std::string_view id) {
    return id == messageRow(ReadingMessageId::valuesNotLoaded).id || id == kOtherStreamsId;
}

std::string messageText(const qxMessage& message) {
    const MessageTextRow* own = findOwn(message.id());
    return own == nullptr ? hostMessageText(message) : filledText(own->text, message);
}

std::string_view shortMessageId(std::string_view id) {
    return id.substr(id.rfind(':') + 1);
}

std::vector<MessageDescription> describeMessages() {
    std::vector<MessageDescription> descriptions;
    const auto add = [&descriptions](const MessageTextRow& row) {
        descriptions.push_back({row.id, row.text, row.explanation, "", row.advice});
    };
    std::for_each(messageTexts().begin(), messageTexts().end(), add);
    std::for_each(checkTexts().begin(), checkTexts().end(), add);
    std::for_each(locateTexts().begin(), locateTexts().end(), add);
    std::for_each(kOwnTexts.begin(), kOwnTexts.end(), add);
    return descriptions;
}

MessageDescription describeMessage(std::string_view shortOrFullId) {
    MessageDescription found;
    std::vector<std::string_view> ids;
    for (const MessageDescription& message : describeMessages()) {
        ids.push_back(shortMessageId(message.id));
        if (message.id == shortOrFullId || ids.back() == shortOrFullId) {
            found = message;
        }
    }
    if (found.id.empty()) {
        found.complaint = "no message has the id " + std::string(shortOrFullId);
        const std::string nearest = nearestNames(shortMessageId(shortOrFullId), ids);
        found.complaint += nearest.empty() ? ", the ids are: " : ", nearest: " + nearest;
        for (std::size_t index = 0; nearest.empty() && index < ids.size(); ++index) {
            found.complaint.append(index > 0 ? ", " : "").append(ids[index]);
        }
    }
    return found;
}

std::string explanationText(const MessageDescription& description) {
    std::string text(description.id);
    text.append("\n  ").append(description.text);
    text.append("\n  ").append(description.explanation);
    text.append("\n  What to do: ").append(description.advice).append("\n");
    return text;
}

}  // namespace ifdsweep
