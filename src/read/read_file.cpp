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
#include "ifdsweep/reading.h"
#include "read/found_format.h"
#include "read/image_checker.h"
#include "read/image_signature.h"
#include "read/jpeg_locator.h"
#include "read/messages.h"
#include "read/place_recorder.h"

namespace ifdsweep {
namespace {

/// The bytes of a file of the host's. Each read is an access of its own, as after a seek.
class BytesOfFile final : public ByteSource {
public:
    explicit BytesOfFile(OpenedFile& openedFile) : file(openedFile) {}

    [[nodiscard]] std::uint64_t size() const noexcept override { return file.size(); }
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t position,
                                      std::span<std::byte> target) const noexcept override {
        return file.readAccess(position, target);
    }

private:
    OpenedFile& file;
};

/// What the first bytes of a file say, and where its TIFF stream begins.
struct Beginning {
    bool isImage = false;
    double offset = 0;
    std::optional<qxMessage> jpegFailure{};  ///< a JPEG file without a stream
};

/// Whether files of a format that is no JPEG's are read.
bool isRead(std::optional<ImageFormat> format, ReadingMode reading) {
    return format == ImageFormat::tiff ||
           (format == ImageFormat::relative && reading == ReadingMode::full);
}

Beginning lookAt(OpenedFile& file, const ReadOptions& options) {
    const BytesOfFile bytes(file);
    if (!beginsAsJpeg(bytes)) {
        return {.isImage = !options.imagesOnly || isRead(imageFormatOf(bytes), options.reading)};
    }
    const JpegSearch search = findExifHeader(bytes);
    const auto position = static_cast<std::int64_t>(search.position);
    switch (search.outcome) {
        case JpegSearch::Outcome::found:
            return {.isImage = true, .offset = static_cast<double>(position)};
        case JpegSearch::Outcome::noExif:
            return {.jpegFailure = qxMessage(kNoExifSegmentId, {position})};
        case JpegSearch::Outcome::damaged:
            break;
    }
    return {.jpegFailure = qxMessage(kBadJpegSegmentId, {position})};
}

/// Looks at the first bytes. Where a file does not exist, the entry point says so better: it
/// passes for an image.
Beginning lookAt(FileService& files, const std::u16string& name, const ReadOptions& options) {
    const std::shared_ptr<OpenedFile> file = files.opened(name);
    if (file == nullptr) {
        return {.isImage = true};
    }
    Beginning beginning = lookAt(*file, options);
    // What could not be read is not known to be no image. A failure farther on is told of by the
    // host beside what can be read.
    const auto failure = file->firstReadFailure();
    if (failure && (!beginning.isImage || failure->position == 0)) {
        static_cast<void>(file->takeReadFailure());
        throw readFailedMessage(*failure);
    }
    return beginning;
}

/// Finds the position of the TIFF stream; absent when the file is to be left alone.
std::optional<double> findInitialOffset(FileService& files, const std::u16string& name,
                                        const ReadOptions& options) {
    if (options.offset && !options.imagesOnly) {
        return options.offset;
    }
    const Beginning beginning = lookAt(files, name, options);
    if (!beginning.isImage && options.imagesOnly) {
        return std::nullopt;
    }
    if (options.offset) {
        return options.offset;
    }
    if (beginning.jpegFailure) {
        throw qxMessage(*beginning.jpegFailure);
    }
    return beginning.offset;
}

ValueHandle callEntryPoint(const std::u16string& name, const Outcome& outcome) {
    const std::array<ValueHandle, 4> inputs{
        ValueHandle(qxCreateUString(name.data(), name.size())),
        ValueHandle(qxCreateDoubleScalar(outcome.initialOffset)),
        ValueHandle(qxCreateDoubleScalar(outcome.firstIfdIndex)),
        ValueHandle(qxCreateDoubleScalar(outcome.maxIfdCount))};
    std::array<const qxArray*, 4> handles{inputs[0].get(), inputs[1].get(), inputs[2].get(),
                                          inputs[3].get()};
    qxArray* output = nullptr;
    qxeFunction(1, &output, static_cast<int>(handles.size()), handles.data());
    return ValueHandle(output);
}

ValueHandle readByRules(const std::u16string& name, const Outcome& outcome,
                        const Reading& reading) {
    return ValueHandle(readDirectories(name, outcome.initialOffset, outcome.firstIfdIndex,
                                       outcome.maxIfdCount, reading));
}

StreamKind streamKindOf(std::optional<ImageFormat> format) {
    return format == ImageFormat::jpeg       ? StreamKind::jpeg
           : format == ImageFormat::relative ? StreamKind::relative
                                             : StreamKind::tiff;
}

/// The checker of a full reading; none where the file does not exist, as the reading will tell.
std::unique_ptr<ImageChecker> makeChecker(Host& host, const std::u16string& name, double offset,
                                          const ReadOptions& options, PlaceRecorder& recorder) {
    if (!options.check || options.reading != ReadingMode::full) {
        return nullptr;
    }
    const std::shared_ptr<OpenedFile> file = filesOf(host).opened(name);
    if (file == nullptr) {
        return nullptr;
    }
    // No file begins elsewhere: the reading ends at once.
    constexpr double kTwo63 = 9223372036854775808.0;
    const std::uint64_t base =
        offset >= 0 && offset < kTwo63 ? static_cast<std::uint64_t>(offset) : 0;
    const StreamKind kind = streamKindOf(imageFormatOf(BytesOfFile(*file)));
    const bool startsWithFile = kind == StreamKind::jpeg && !(options.first >= 1);
    return std::make_unique<ImageChecker>(
        HostParts::of(host), recorder, options.filter, StreamExtent{base, file->size(), kind},
        startsWithFile ? DirectoryRole::jpegFile : DirectoryRole::image);
}

ValueHandle readInFull(const std::u16string& name, const Outcome& outcome,
                       const ReadOptions& options, PlaceRecorder& recorder, ImageChecker* checker) {
    Reading reading{.rules = ReadingRules::full(),
                    .sink = &recorder,
                    .filter = options.filter,
                    .longestValue = options.longestValue.value_or(kUnlimited)};
    if (checker == nullptr) {
        return readByRules(name, outcome, reading);
    }
    std::optional<TagFilter> widened;
    if (options.filter != nullptr) {
        widened = withCheckedTags(*options.filter);
        reading.filter = &*widened;
    }
    reading.sink = checker;
    return readByRules(name, outcome, reading);
}

ValueHandle readRecords(const std::u16string& name, const Outcome& outcome,
                        const ReadOptions& options, PlaceRecorder& recorder,
                        ImageChecker* checker) {
    if (options.reading == ReadingMode::full) {
        return readInFull(name, outcome, options, recorder, checker);
    }
    if (options.sink == nullptr) {
        return callEntryPoint(name, outcome);
    }
    ValueHandle records = readByRules(name, outcome, {.sink = &recorder});
    recorder.places().clear();
    return records;
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
    if (file == nullptr || outcome.initialOffset != 0 || !meansNoHeader(*outcome.error)) {
        return "";
    }
    std::array<char, kLongestGlance> bytes{};
    const std::ptrdiff_t got = file->glance(std::as_writable_bytes(std::span(bytes)));
    return got < 0 ? "" : foundFormat({bytes.data(), static_cast<std::size_t>(got)});
}

qxMessage unexpectedFailure(const std::exception& failure) {
    return {kUnexpectedFailureId, {qxMessageText(std::string(failure.what()))}};
}

/// Reads a file into its outcome, in a scope of the host's. Throws what is no message.
/// @param checker made once the TIFF stream is found, if image data are to be checked
void readInScope(Host& host, const std::u16string& name, const ReadOptions& options,
                 PlaceRecorder& recorder, std::unique_ptr<ImageChecker>& checker,
                 Outcome& outcome) {
    try {
        const auto offset = findInitialOffset(filesOf(host), name, options);
        outcome.isImage = offset.has_value();
        if (offset) {
            outcome.initialOffset = *offset;
            checker = makeChecker(host, name, *offset, options, recorder);
            ValueHandle records = readRecords(name, outcome, options, recorder, checker.get());
            if (checker != nullptr) {
                checker->lookAtBytes(BytesOfFile(*filesOf(host).opened(name)));
            }
            outcome.result = std::move(records);
        }
    } catch (const qxMessage& message) {
        outcome.error = message;
        outcome.found = foundInstead(HostParts::of(host).filesAsTheyAre(), outcome);
    }
}

}  // namespace

Outcome read(Host& host, std::string_view path, const ReadOptions& options) {
    Outcome outcome;
    PlaceRecorder recorder(HostParts::of(host), options.sink);
    std::unique_ptr<ImageChecker> checker;
    if (options.readBudget) {
        host.setReadBudget(options.readBudget);
    }
    if (options.valueBudget) {
        host.setValueBudget(options.valueBudget);
    }
    try {
        const Host::Scope scope(host);
        outcome.file = path;
        outcome.firstIfdIndex = options.first;
        outcome.maxIfdCount = options.max;
        readInScope(host, fileNameFromSystem(path), options, recorder, checker, outcome);
    } catch (const std::bad_alloc&) {
        outcome.error.emplace(outOfMemory());
    } catch (const std::exception& failure) {
        outcome.error = unexpectedFailure(failure);
    }
    try {
        outcome.warnings = placedWarnings(host.takeWarnings(), recorder.places());
        if (checker != nullptr) {
            std::vector<Warning> found = checker->takeWarnings();
            std::move(found.begin(), found.end(), std::back_inserter(outcome.warnings));
        }
    } catch (const std::bad_alloc&) {
        outcome.result.reset();
        outcome.error.emplace(outOfMemory());
    }
    return outcome;
}

}  // namespace ifdsweep
