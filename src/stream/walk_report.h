#pragma once

// What is told of a walk while it goes on, and where it stands. Without a sink every question is
// one branch and nothing is kept. It borrows the sink and the directories on the way. One thread.

#include <cstddef>
#include <cstdint>
#include <memory>
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

    /// A chain while it is read: stands the walk at its directories, and puts back at the end where
    /// it stood before. On the heap, and only for a sink: chains nest on the stack.
    class Chain {
    public:
        Chain(WalkReport& walkReport, DirectoryKind kind) : report(walkReport) {
            if (report.isOn()) {
                told = std::make_unique<Told>(report.place, report.nextDirectory(kind));
            }
        }
        Chain(const Chain&) = delete;
        Chain& operator=(const Chain&) = delete;
        ~Chain() {
            if (told != nullptr) {
                report.place = told->before;
            }
        }

        /// The walk comes to a directory.
        /// @param index among those of the chain that are kept
        void comeTo(std::size_t index, std::uint64_t position) {
            if (told != nullptr) {
                told->directory.index = index;
                told->directory.position = position;
                told->directory.entryCount = 0;
                report.standAt(told->directory, position);
            }
        }

        /// The directory is read, and the walk goes on to the pointer to the next.
        void leave(bool isKept, std::uint64_t position) {
            if (told != nullptr) {
                report.sink->directoryEnds(told->directory, isKept);
                report.standAt(told->directory, position);
            }
        }

    private:
        struct Told {
            Told(const Place& placeBefore, const DirectoryFacts& first)
                : before(placeBefore), directory(first) {}

            Place before;
            DirectoryFacts directory;
        };

        WalkReport& report;
        std::unique_ptr<Told> told;
    };

    /// The pointer that leads to the chain which is read next, from the directory in hand.
    void pointAt(std::uint16_t tag, std::string_view name, std::size_t chainIndex) {
        pointerTag = tag;
        pointerName = name;
        pointerIndex = chainIndex;
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
