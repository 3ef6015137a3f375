#pragma once

// What is told of a walk while it goes on, and where it stands. Without a sink every question is
// one branch and nothing is kept. It borrows the sink and the directories on the way. One thread.

#include <cstdint>
#include <optional>
#include <string_view>

#include "ifdsweep/entry_sink.h"

namespace ifdsweep::module {

class WalkReport {
public:
    explicit WalkReport(EntrySink* entrySink) : sink(entrySink) {}

    /// Whether anybody is told.
    [[nodiscard]] bool isOn() const { return sink != nullptr; }

    /// Puts back, at the end of a chain, where the walk stood before it.
    class Chain {
    public:
        explicit Chain(WalkReport& walkReport)
            : report(walkReport), before(walkReport.place), directory(walkReport.here) {}
        Chain(const Chain&) = delete;
        Chain& operator=(const Chain&) = delete;
        ~Chain() {
            report.place = before;
            report.here = directory;
        }

    private:
        WalkReport& report;
        WarningFacts before;
        DirectoryFacts* directory;
    };

    /// The pointer that leads to the chain which is read next, from the directory in hand.
    void pointAt(std::uint16_t tag, std::string_view name, std::size_t chainIndex) {
        pointerTag = tag;
        pointerName = name;
        pointerIndex = chainIndex;
    }

    /// A directory as the walk comes to it: the pointer's, of the place where the walk stands.
    [[nodiscard]] DirectoryFacts nextDirectory(DirectoryKind kind) const {
        const bool isNested = place.directory != nullptr;
        return {.kind = kind,
                .parent = place.directory,
                .pointerTag = isNested ? pointerTag : std::uint16_t{0},
                .pointerName = isNested ? pointerName : std::string_view(),
                .chainIndex = isNested ? pointerIndex : 0,
                .index = 0,
                .position = 0,
                .entryCount = 0};
    }

    /// The walk stands at a directory, or at what follows it.
    void standAt(DirectoryFacts& directory, std::uint64_t position) {
        here = &directory;
        place = {.directory = &directory, .tag = std::nullopt, .position = position};
    }

    /// The walk stands at an entry of the directory.
    void standAtEntry(std::uint16_t tag, std::uint64_t position) {
        place.tag = tag;
        place.position = position;
    }

    void directoryBegins(std::uint64_t entryCount) {
        here->entryCount = entryCount;
        sink->directoryBegins(*here);
    }
    void directoryEnds(bool isKept) { sink->directoryEnds(*place.directory, isKept); }
    void entry(const EntryFacts& facts) { sink->entry(*place.directory, facts); }

    /// A warning that the host was given.
    void warned(const qxMessage& message) {
        last = message.id();
        sink->warning(message, place);
    }

    /// Position of the entry at which the walk stands.
    [[nodiscard]] std::uint64_t entryPosition() const { return place.position; }

    /// The warning that came last: the one by which an entry was dropped.
    [[nodiscard]] std::string_view lastWarning() const { return last; }

private:
    EntrySink* sink;  // not owned
    WarningFacts place{.directory = nullptr, .tag = std::nullopt, .position = 0};
    DirectoryFacts* here = nullptr;  // that of the place, not owned
    std::uint16_t pointerTag = 0;
    std::string_view pointerName;
    std::size_t pointerIndex = 0;
    std::string_view last;
};

}  // namespace ifdsweep::module
