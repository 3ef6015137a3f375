#include "scan/packing_reader.h"

#include <new>
#include <optional>
#include <utility>

#include "ifdsweep/reading.h"
#include "pack/file_packer.h"
#include "read/field_selection.h"
#include "read/messages.h"
#include "read/tag_filter.h"

namespace ifdsweep {

namespace {

/// Passes on what it is told until it is stopped.
class StoppableSink final : public EntrySink {
public:
    StoppableSink(EntrySink& sink, const std::atomic<bool>& flag) : next(sink), isStopped(flag) {}

    void streamBegins(const StreamFacts& stream) override { next.streamBegins(stream); }
    void directoryBegins(const DirectoryFacts& directory) override {
        check();
        next.directoryBegins(directory);
    }
    void directoryEnds(const DirectoryFacts& directory, bool isKept) override {
        next.directoryEnds(directory, isKept);
    }
    void entry(const DirectoryFacts& directory, const EntryFacts& entry) override {
        check();
        next.entry(directory, entry);
    }
    void warning(const qxMessage& message, const WarningFacts& place) override {
        next.warning(message, place);
    }

private:
    void check() const {
        if (isStopped.load(std::memory_order_relaxed)) {
            throw ReadingStopped();
        }
    }

    EntrySink& next;
    const std::atomic<bool>& isStopped;
};

}  // namespace

class PackingReader::Parts {
public:
    Parts(const ReadOptions& readOptions, std::vector<ChosenField> chosenFields,
          const std::atomic<bool>* isStopped)
        : options(readOptions), fields(std::move(chosenFields)) {
        if (!fields.empty() && options.reading == ReadingMode::full) {
            filter = tagFilter(fields);
        }
        options.filter = filter ? &*filter : nullptr;
        options.sink = &packer;
        if (isStopped != nullptr) {
            options.sink = &stoppable.emplace(packer, *isStopped);
        }
    }

    PackedFile read(std::string_view path, bool imagesOnly) {
        packer.begin();
        options.imagesOnly = imagesOnly;
        Outcome outcome = ifdsweep::read(host, path, options);
        if (!fields.empty()) {
            select(outcome);
        }
        try {
            return packer.pack(outcome);
        } catch (const std::bad_alloc&) {
            outcome = Outcome();
            return fail(path, outOfMemory());
        }
    }

    PackedFile fail(std::string_view path, const qxMessage& error) {
        packer.begin();
        Outcome outcome;
        outcome.file = path;
        outcome.firstIfdIndex = options.first;
        outcome.maxIfdCount = options.max;
        outcome.error = error;
        return packer.pack(outcome);
    }

    Host host;

private:
    void select(Outcome& outcome) {
        const Host::Scope scope(host);
        selectStream(outcome);
        for (Outcome& other : outcome.others) {
            selectStream(other);
        }
    }

    void selectStream(Outcome& stream) {
        if (stream.result == nullptr) {
            return;
        }
        try {
            stream.result = selectFields(std::move(stream.result), fields, stream.stream.kind);
        } catch (const std::bad_alloc&) {
            stream.result.reset();
            stream.error.emplace(outOfMemory());
        }
    }

    ReadOptions options;  ///< with filter and packer
    std::vector<ChosenField> fields;
    std::optional<TagFilter> filter;
    FilePacker packer;
    std::optional<StoppableSink> stoppable;
};

PackingReader::PackingReader(const ReadOptions& readOptions, std::vector<ChosenField> chosenFields,
                             const std::atomic<bool>* isStopped)
    : parts(std::make_unique<Parts>(readOptions, std::move(chosenFields), isStopped)) {}

PackingReader::~PackingReader() = default;

Host& PackingReader::host() noexcept {
    return parts->host;
}

PackedFile PackingReader::read(std::string_view path, bool imagesOnly) {
    return parts->read(path, imagesOnly);
}

PackedFile PackingReader::fail(std::string_view path, const qxMessage& error) {
    return parts->fail(path, error);
}

FileReader inputReader(std::shared_ptr<PackingReader> reader) {
    return [reader = std::move(reader)](const InputFile& input) {
        return input.failure.empty() ? reader->read(input.path, input.imagesOnly)
                                     : reader->fail(input.path, inputFailure(input.failure));
    };
}

}  // namespace ifdsweep
