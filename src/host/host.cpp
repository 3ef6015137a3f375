#include "ifdsweep/host.h"

#include <stdexcept>
#include <utility>

#include "files/file_names.h"
#include "files/opened_file.h"
#include "host/host_parts.h"
#include "host/message_texts.h"

namespace ifdsweep {

namespace {

// Of this thread's innermost scope: the contract's functions have no argument for it.
thread_local HostParts* currentParts = nullptr;

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

HostParts& HostParts::current() {
    if (currentParts == nullptr) {
        throw std::logic_error("no host serves this thread");
    }
    return *currentParts;
}

FileService& HostParts::files() {
    collectOwnWarnings();
    return service;
}

std::vector<qxMessage>& HostParts::warnings() {
    collectOwnWarnings();
    return collected;
}

void HostParts::warn(const qxMessage& message) {
    collectOwnWarnings();
    if (budget.takesWarning(argumentCostOf(message))) {
        collected.push_back(message);
    }
}

void HostParts::clear() noexcept {
    service.forgetFile();
    service.forgetWhatIsToTell();
    budget.forgetWhatIsToTell();
    collected.clear();
}

void HostParts::collectOwnWarnings() {
    if (!service.hasSomethingToTell() && !budget.hasSomethingToTell()) {
        return;  // as nearly always
    }
    // The file service cannot give the warnings itself: it stands inside the C library's read.
    if (const std::optional<SpentBudget> spent = service.takeSpentBudget()) {
        collected.push_back(spentMessage(kReadBudgetSpentId, *spent));
    }
    if (const std::optional<SpentBudget> spent = budget.takeSpent()) {
        collected.push_back(spentMessage(kValueBudgetSpentId, *spent));
    }
    if (const std::optional<SpentBudget> spent = budget.takeSpentMemory()) {
        collected.push_back(spentMessage(kMemorySpentId, *spent));
    }
    while (const std::optional<ReadFailure> failure = service.takeReadFailure()) {
        collected.push_back(readFailedMessage(*failure));
    }
}

Host::Scope::Scope(Host& callHost) noexcept
    : parts(HostParts::of(callHost)), previous(std::exchange(currentParts, &parts)) {
    parts.filesAsTheyAre().forgetFile();
}

Host::Scope::~Scope() {
    parts.filesAsTheyAre().forgetFile();
    currentParts = previous;
}

Host::Host() : parts(std::make_unique<HostParts>()) {}
Host::~Host() = default;

void Host::setReadBudget(std::optional<std::uint64_t> bytes) noexcept {
    parts->filesAsTheyAre().setReadBudget(bytes);
}

void Host::setValueBudget(std::optional<std::uint64_t> limit) noexcept {
    parts->filesAsTheyAre().setValueBudget(limit);
}

void Host::setMemoryBound(std::function<std::uint64_t()> bound) noexcept {
    parts->filesAsTheyAre().setMemoryBound(std::move(bound));
}

void Host::serve(std::string_view name, std::span<const std::uint8_t> bytes) {
    parts->files().serve(fileNameFromSystem(name), bytes);
}

void Host::serve(std::string_view name, std::shared_ptr<const ByteSource> source) {
    const qxFileStatus status = plainStatus(source->size());
    serve(name, std::move(source), status);
}

void Host::serve(std::string_view name, std::shared_ptr<const ByteSource> source,
                 const qxFileStatus& status) {
    parts->files().serve(fileNameFromSystem(name), ServedFile{std::move(source), status});
}

void Host::serveDescriptor(std::string_view name, int descriptor) {
    ServedFile file = servedFile(descriptor);
    parts->files().serve(fileNameFromSystem(name), std::move(file));
}

void Host::serveNothing() noexcept {
    parts->filesAsTheyAre().serveNothing();
}

const std::vector<qxMessage>& Host::warnings() {
    return parts->warnings();
}

std::vector<qxMessage> Host::takeWarnings() {
    return std::exchange(parts->warnings(), {});
}

void Host::clear() noexcept {
    parts->clear();
}

std::size_t Host::liveValues() const noexcept {
    return parts->values().liveValues();
}

std::uint64_t Host::countedValues() const noexcept {
    return parts->valueBudget().counted();
}

std::uint64_t Host::countedBytes() const noexcept {
    return parts->filesAsTheyAre().countedBytes();
}

}  // namespace ifdsweep
