#include "host/host.h"

#include <stdexcept>
#include <utility>

#include "files/opened_file.h"
#include "host/message_texts.h"

namespace ifdsweep {

namespace {

// The host of this thread's innermost scope: the contract's functions have no argument for it.
thread_local Host* currentHost = nullptr;

/// What the arguments of a message count against the value budget.
std::uint64_t argumentCostOf(const qxMessage& message) {
    struct SizeOf : boost::static_visitor<std::uint64_t> {
        std::uint64_t operator()(std::int64_t) const { return 0; }
        std::uint64_t operator()(const qxMessageText& text) const {
            return boost::apply_visitor(*this, text);
        }
        std::uint64_t operator()(const std::string& text) const { return text.size(); }
        std::uint64_t operator()(const std::u16string& text) const {
            return text.size() * sizeof(char16_t);
        }
    };
    std::uint64_t size = 0;
    for (const qxMessageArgument& argument : message.arguments()) {
        size += boost::apply_visitor(SizeOf(), argument);
    }
    return size * ValueBudget::kElementWeight;
}

qxMessage spentMessage(const char* id, const SpentBudget& spent) {
    return {id,
            {static_cast<std::int64_t>(spent.budget), static_cast<std::int64_t>(spent.fileSize)}};
}

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
    collectOwnWarnings();
    return collected;
}

std::vector<qxMessage> Host::takeWarnings() {
    collectOwnWarnings();
    return std::exchange(collected, {});
}

void Host::warn(const qxMessage& message) {
    collectOwnWarnings();
    if (valueBudget.takesWarning(argumentCostOf(message))) {
        collected.push_back(message);
    }
}

void Host::clear() noexcept {
    fileService.forgetFile();
    fileService.forgetWhatIsToTell();
    valueBudget.forgetWhatIsToTell();
    collected.clear();
}

FileService& Host::files() {
    collectOwnWarnings();
    return fileService;
}

void Host::collectOwnWarnings() {
    // The file service cannot give the warnings itself: it stands inside the C library's read.
    if (const std::optional<SpentBudget> spent = fileService.takeSpentBudget()) {
        collected.push_back(spentMessage(kReadBudgetSpentId, *spent));
    }
    if (const std::optional<SpentBudget> spent = valueBudget.takeSpent()) {
        collected.push_back(spentMessage(kValueBudgetSpentId, *spent));
    }
    if (const std::optional<SpentBudget> spent = valueBudget.takeSpentMemory()) {
        collected.push_back(spentMessage(kMemorySpentId, *spent));
    }
    while (const std::optional<ReadFailure> failure = fileService.takeReadFailure()) {
        collected.push_back(readFailedMessage(*failure));
    }
}

}  // namespace ifdsweep
