#include "ifdsweep/read.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <utility>

#include "files/file_names.h"
#include "files/opened_file.h"
#include "host/host_parts.h"
#include "ifdsweep/message_catalogue.h"
#include "locate/stream_opener.h"
#include "read/accessed_file.h"
#include "read/file_size_fields.h"
#include "read/found_format.h"
#include "read/image_signature.h"
#include "read/messages.h"
#include "read/place_recorder.h"
#include "read/stream_reading.h"
#include "read/stream_search.h"

namespace ifdsweep {
namespace {

/// Looks for the TIFF streams of a file. Where a file does not exist, the entry point says so
/// better: it passes for an image.
StreamSearch search(FileService& files, const std::u16string& name, const ReadOptions& options) {
    if (options.offset && !options.imagesOnly) {
        return {};
    }
    const std::shared_ptr<OpenedFile> file = files.opened(name);
    if (file == nullptr) {
        return {};
    }
    StreamSearch found = searchStreams(BytesOfFile(*file), options);
    // What could not be read is not known to be no image. A failure farther on is told of by the
    // host beside what can be read.
    const auto failure = file->firstReadFailure();
    if (failure && (!found.isFoundOut() || failure->position == 0)) {
        static_cast<void>(file->takeReadFailure());
        throw readFailedMessage(*failure);
    }
    found.isImage = found.isImage || file->budget().hasRefusalToTell();
    return found;
}

StreamKind streamKindOf(std::optional<ImageFormat> format) {
    switch (format.value_or(ImageFormat::tiff)) {
        case ImageFormat::tiff:
            return StreamKind::tiff;
        case ImageFormat::relative:
            return StreamKind::relative;
        case ImageFormat::jpeg:
            return StreamKind::jpeg;
        case ImageFormat::container:
            break;
    }
    return StreamKind::container;
}

/// Puts warnings and places together. There are fewer places where the last warnings have none.
std::vector<Warning> placedWarnings(std::vector<qxMessage> messages,
                                    std::vector<WarningPlace>& places) {
    std::vector<Warning> warnings;
    warnings.reserve(messages.size());
    for (std::size_t index = 0; index < messages.size(); ++index) {
        warnings.push_back({std::move(messages[index]),
                            index < places.size() ? std::move(places[index]) : WarningPlace()});
    }
    return warnings;
}

/// Whether an error says that there is no TIFF header where it was looked for.
bool meansNoHeader(const qxMessage& error) {
    using enum MessageId;
    constexpr std::array kOfHeader{tiffHeaderReadFailure, badEndianness, badTiffIfdOffset};
    return std::any_of(kOfHeader.begin(), kOfHeader.end(),
                       [&](MessageId id) { return messageRow(id).id == error.id(); });
}

/// What a file is that was taken for a TIFF file and is none.
std::string foundInstead(const FileService& files, const Outcome& outcome) {
    const auto file = files.lookedAt();
    if (file == nullptr || outcome.initialOffset != 0 || !outcome.stream.container.empty() ||
        !meansNoHeader(*outcome.error)) {
        return "";
    }
    std::array<char, kLongestGlance> bytes{};
    const std::ptrdiff_t got = file->glance(std::as_writable_bytes(std::span(bytes)));
    return got < 0 ? "" : foundFormat({bytes.data(), static_cast<std::size_t>(got)});
}

qxMessage unexpectedFailure(const std::exception& failure) {
    return {kUnexpectedFailureId, {qxMessageText(std::string(failure.what()))}};
}

void failForMemory(Outcome& outcome) {
    outcome.result.reset();
    outcome.error.emplace(outOfMemory());
}

/// One file in a scope of the host's, stream by stream: they share its budgets.
class FileReading {
public:
    FileReading(Host& readingHost, std::string_view path, const ReadOptions& readOptions)
        : host(readingHost), scope(readingHost), options(readOptions), file(path) {}

    [[nodiscard]] Outcome read();

private:
    void searchAndRead(Outcome& outcome, PlaceRecorder& recorder, StreamReading& reading);
    void readOthers(Outcome& outcome);

    /// Has a stream read into an outcome, and puts together what comes of it.
    /// @param read called with the outcome, a recorder and the reading
    template <class Read>
    void fill(Outcome& outcome, Read&& read);

    void readLocated(std::size_t number, Outcome& outcome, PlaceRecorder& recorder,
                     StreamReading& reading);
    [[nodiscard]] StreamKind surroundingsOf(std::size_t number, bool isEmbedded) const;
    void takeWarnings(Outcome& outcome, PlaceRecorder& recorder, StreamReading& reading);

    Host& host;
    const Host::Scope scope;
    const ReadOptions& options;
    std::string_view file;
    std::u16string name;
    StreamSearch found;
    std::uint64_t assembled = 0;         ///< bytes of streams that were put together
    std::vector<qxMessage> ownWarnings;  ///< about the stream in hand, not its directories
};

template <class Read>
void FileReading::fill(Outcome& outcome, Read&& read) {
    ownWarnings.clear();
    PlaceRecorder recorder(HostParts::of(host), options.sink);
    StreamReading reading(host, name, options, recorder);
    try {
        try {
            outcome.file = file;
            outcome.firstIfdIndex = options.first;
            outcome.maxIfdCount = options.max;
            read(outcome, recorder, reading);
        } catch (const qxMessage& message) {
            outcome.error = message;
            outcome.found = foundInstead(HostParts::of(host).filesAsTheyAre(), outcome);
        } catch (const std::bad_alloc&) {
            failForMemory(outcome);
        } catch (const std::exception& failure) {
            outcome.error = unexpectedFailure(failure);
        }
        takeWarnings(outcome, recorder, reading);
    } catch (const std::bad_alloc&) {
        failForMemory(outcome);
        static_cast<void>(host.takeWarnings());  // no other stream's
    }
    outcome.stamp = HostParts::of(host).filesAsTheyAre().stamp();
}

void FileReading::takeWarnings(Outcome& outcome, PlaceRecorder& recorder, StreamReading& reading) {
    if (options.reading == ReadingMode::contract) {
        recorder.places().clear();  // its warnings have none, whether or not a sink was told
    }
    outcome.warnings = placedWarnings(host.takeWarnings(), recorder.places());
    for (qxMessage& message : ownWarnings) {
        outcome.warnings.push_back({std::move(message), {}});
    }
    std::vector<Warning> findings = reading.takeFindings();
    std::move(findings.begin(), findings.end(), std::back_inserter(outcome.warnings));
}

/// What a stream lies in, for the checks. Of a JPEG file that is its first stream, and only where
/// the host shows the file.
StreamKind FileReading::surroundingsOf(std::size_t number, bool isEmbedded) const {
    const bool isAskedFor = options.check && options.reading == ReadingMode::full;
    const std::shared_ptr<OpenedFile> opened =
        isAskedFor && number == 0 && !isEmbedded ? filesOf(host).opened(name) : nullptr;
    if (opened != nullptr) {
        return streamKindOf(imageFormatOf(BytesOfFile(*opened)));
    }
    return found.container == nullptr ? StreamKind::tiff : StreamKind::container;
}

void FileReading::readLocated(std::size_t number, Outcome& outcome, PlaceRecorder& recorder,
                              StreamReading& reading) {
    const LocatedStream& stream = found.located.streams[number];
    outcome.stream = {std::string(found.container->name), stream.name, false, stream.kind};
    const std::shared_ptr<OpenedFile> opened = filesOf(host).opened(name);
    OpenedStream ready = openStream(BytesOfFile(*opened), stream,
                                    kMostAssembledBytes - std::min(assembled, kMostAssembledBytes));
    if (ready.warning) {
        ownWarnings.push_back(std::move(*ready.warning));
    }
    const bool isEmbedded = ready.bytes != nullptr;
    outcome.initialOffset = static_cast<double>(ready.position);
    outcome.stream.isEmbedded = isEmbedded;
    recorder.streamBegins({found.container->name, stream.name, isEmbedded});
    // What the contract knows to be a container is told by the first bytes that the host shows.
    const bool isKnown = found.container->locateByContract != nullptr && !isEmbedded;
    const StreamInHand inHand{outcome.initialOffset, stream.kind,
                              surroundingsOf(number, isEmbedded),
                              isKnown ? nullptr : found.container->format};
    if (!isEmbedded) {
        outcome.result = reading.read(inHand);
        return;
    }
    assembled += ready.cost;
    const EmbeddedBytes shown(opened, ready.bytes);
    outcome.result = reading.read(inHand);
    setFileSizes(*outcome.result, shown.reportedSizeOfFile());
}

void FileReading::searchAndRead(Outcome& outcome, PlaceRecorder& recorder, StreamReading& reading) {
    name = fileNameFromSystem(file);
    found = search(filesOf(host), name, options);
    outcome.isImage = found.isImage;
    if (!found.isImage) {
        return;
    }
    if (const auto error = errorOf(found)) {
        throw qxMessage(*error);
    }
    ownWarnings = warningsOf(found, options);
    if (found.container != nullptr && options.reading == ReadingMode::full) {
        readLocated(0, outcome, recorder, reading);
        return;
    }
    outcome.initialOffset =
        found.container == nullptr
            ? options.offset.value_or(0)
            : static_cast<double>(found.located.streams.front().extents.front().position);
    outcome.result =
        reading.read({outcome.initialOffset, DirectoryKind::primary, surroundingsOf(0, false)});
}

void FileReading::readOthers(Outcome& outcome) {
    const std::size_t count = found.located.streams.size();
    if (count < 2) {
        return;
    }
    try {
        outcome.others.reserve(count - 1);
    } catch (const std::bad_alloc&) {
        failForMemory(outcome);
        return;
    }
    for (std::size_t number = 1; number < count; ++number) {
        fill(outcome.others.emplace_back(),
             [&](Outcome& other, PlaceRecorder& recorder, StreamReading& reading) {
                 readLocated(number, other, recorder, reading);
             });
    }
}

Outcome FileReading::read() {
    Outcome outcome;
    fill(outcome, [&](Outcome& first, PlaceRecorder& recorder, StreamReading& reading) {
        searchAndRead(first, recorder, reading);
    });
    if (options.streams == StreamChoice::all && options.reading == ReadingMode::full) {
        readOthers(outcome);
    }
    return outcome;
}

}  // namespace

Outcome read(Host& host, std::string_view path, const ReadOptions& options) {
    if (options.readBudget) {
        host.setReadBudget(options.readBudget);
    }
    if (options.valueBudget) {
        host.setValueBudget(options.valueBudget);
    }
    return FileReading(host, path, options).read();
}

}  // namespace ifdsweep
