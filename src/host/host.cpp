#include "host/host.h"

#include <stdexcept>
#include <utility>

#include "host/message_texts.h"
#include "host/opened_file.h"

namespace host {

namespace {

// The host of this thread's innermost scope: the contract's functions have no argument for it.
thread_local Host* currentHost = nullptr;

}  // namespace

Host::Scope::Scope(Host& callHost) noexcept
    : host(callHost), previous(std::exchange(currentHost, &callHost)) {
    host.fileService.forgetFile();
}

Host::Scope::~Scope() {
    host.fileService.forgetFile();
    currentHost = previous;
}

Host& Host::current() {
    if (currentHost == nullptr) {
        throw std::logic_error("no host serves this thread");
    }
    return *currentHost;
}

const std::vector<qxMessage>& Host::warnings() {
    collectFileWarnings();
    return collected;
}

std::vector<qxMessage> Host::takeWarnings() {
    collectFileWarnings();
    return std::exchange(collected, {});
}

void Host::warn(const qxMessage& message) {
    collectFileWarnings();
    collected.push_back(message);
}

void Host::clear() noexcept {
    fileService.forgetFile();
    fileService.forgetWhatIsToTell();
    collected.clear();
}

FileService& Host::files() {
    collectFileWarnings();
    return fileService;
}

void Host::collectFileWarnings() {
    // The file service cannot give the warnings itself: it stands inside the C library's read.
    if (const std::optional<SpentBudget> spent = fileService.takeSpentBudget()) {
        collected.push_back(
            qxMessage(kReadBudgetSpentId, {static_cast<std::int64_t>(spent->budget),
                                           static_cast<std::int64_t>(spent->fileSize)}));
    }
    while (const std::optional<ReadFailure> failure = fileService.takeReadFailure()) {
        collected.push_back(readFailedMessage(*failure));
    }
}

}  // namespace host
