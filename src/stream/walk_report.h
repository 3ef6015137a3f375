#pragma once

// What is told of a walk while it goes on, and where it stands. Without a sink every question is
// one branch and nothing is kept. It borrows the sink and the directories on the way. One thread.

#include <cstdint>
#include <optional>
#include <string_view>

#include "ifdsweep/entry_sink.h"
#include "stream/raw2native.h"

namespace ifdsweep::module {

class WalkReport {
    struct Place {
        DirectoryFacts* directory;  // not owned
        const std::uint8_t* entry;  // null when it is the directory
        const std::uint8_t* table;  // the entries in memory
        const std::uint8_t* told;   // the entry that the sink was told of last
        std::uint64_t position;     // of the table while there is one
    };

public:
    explicit WalkReport(EntrySink* entrySink)
        : sink(entrySink), tells(entrySink != nullptr && entrySink->hearsEntries()) {}

    /// Whether anybody is told.
    [[nodiscard]] bool isOn() const { return sink != nullptr; }

    /// Whether anybody is told of entries.
    [[nodiscard]] bool tellsEntries() const { return tells; }

    /// Puts back, at the end of a chain, where the walk stood before it.
    class Chain {
    public:
        explicit Chain(WalkReport& walkReport) : report(walkReport), before(walkReport.place) {}
        Chain(const Chain&) = delete;
        Chain& operator=(const Chain&) = delete;
        ~Chain() { report.place = before; }

    private:
        WalkReport& report;
        Place before;
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
        place = {.directory = &directory,
                 .entry = nullptr,
                 .table = nullptr,
                 .told = nullptr,
                 .position = position};
    }

    /// The table of the directory's entries, and its position in the file.
    void standAtTable(const std::uint8_t* entries, std::uint64_t position) {
        place.table = entries;
        place.position = position;
    }

    /// The walk stands at an entry of the table, or, where there is none, at the directory. This is
    /// all that an entry costs when nobody is told.
    void standAtEntry(const std::uint8_t* entry) { place.entry = entry; }

    void directoryBegins(std::uint64_t entryCount) {
        place.directory->entryCount = entryCount;
        sink->directoryBegins(*place.directory);
    }
    void directoryEnds(bool isKept) { sink->directoryEnds(*place.directory, isKept); }

    /// Tells of the entry at which the walk stands, or of a default.
    void entry(const EntryFacts& facts) {
        place.told = place.entry;
        sink->entry(*place.directory, facts);
    }

    /// Whether the sink was told of the entry at which the walk stands.
    [[nodiscard]] bool isTold() const { return place.told == place.entry; }

    /// A warning that the host was given.
    /// @param needsByteSwap of the entry at which the walk stands
    void warned(const qxMessage& message, bool needsByteSwap) {
        last = message.id();
        WarningFacts facts{
            .directory = place.directory, .tag = std::nullopt, .position = place.position};
        if (place.entry != nullptr) {
            facts.tag = nativeItem<std::uint16_t>(place.entry, needsByteSwap);
            facts.position = entryPosition();
        }
        sink->warning(message, facts);
    }

    /// The entry at which the walk stands, in file byte order.
    [[nodiscard]] const std::uint8_t* entryBytes() const { return place.entry; }

    /// Position in the file of the entry at which the walk stands.
    [[nodiscard]] std::uint64_t entryPosition() const {
        return place.position + static_cast<std::uint64_t>(place.entry - place.table);
    }

    /// The warning that came last: the one by which an entry was dropped.
    [[nodiscard]] std::string_view lastWarning() const { return last; }

private:
    EntrySink* sink;  // not owned
    bool tells;
    Place place{
        .directory = nullptr, .entry = nullptr, .table = nullptr, .told = nullptr, .position = 0};
    std::uint16_t pointerTag = 0;
    std::string_view pointerName;
    std::size_t pointerIndex = 0;
    std::string_view last;
};

}  // namespace ifdsweep::module
