#include "read/read_file.h"

#include <array>
#include <cstdint>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <utility>

#include "files/file_names.h"
#include "files/opened_file.h"
#include "read/image_signature.h"
#include "read/jpeg_locator.h"
#include "read/messages.h"

namespace ifdsweep {
namespace {

/// Reads a file of the host's.
class FileReader final : public ByteReader {
public:
    explicit FileReader(OpenedFile& openedFile) : file(openedFile) {}

    std::size_t readAt(std::uint64_t position, std::span<std::uint8_t> target) override {
        return file.readAt(position, std::as_writable_bytes(target));
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

bool beginsAsTiff(ByteReader& reader) {
    std::array<std::uint8_t, kLongestSignature> start{};
    const std::size_t size = reader.readAt(0, start);
    return imageFormatOf(std::string(start.begin(), start.begin() + size)) == ImageFormat::tiff;
}

Beginning lookAt(OpenedFile& file, bool imagesOnly) {
    FileReader reader(file);
    if (!beginsAsJpeg(reader)) {
        return {.isImage = !imagesOnly || beginsAsTiff(reader)};
    }
    const JpegSearch search = findExifHeader(reader);
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
Beginning lookAt(FileService& files, const std::u16string& name, bool imagesOnly) {
    const std::shared_ptr<OpenedFile> file = files.look(name);
    if (file == nullptr) {
        return {.isImage = true};
    }
    Beginning beginning = lookAt(*file, imagesOnly);
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
    const Beginning beginning = lookAt(files, name, options.imagesOnly);
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

qxMessage unexpectedFailure(const std::exception& failure) {
    return {kUnexpectedFailureId, {qxMessageText(std::string(failure.what()))}};
}

}  // namespace

Outcome read(Host& host, std::string_view file, const ReadOptions& options) {
    Outcome outcome;
    if (options.readBudget) {
        host.setReadBudget(options.readBudget);
    }
    if (options.valueBudget) {
        host.setValueBudget(options.valueBudget);
    }
    try {
        const Host::Scope scope(host);
        outcome.file = file;
        outcome.firstIfdIndex = options.first;
        outcome.maxIfdCount = options.max;
        const std::u16string name = fileNameFromSystem(file);
        const auto offset = findInitialOffset(host.files(), name, options);
        outcome.isImage = offset.has_value();
        if (offset) {
            outcome.initialOffset = *offset;
            outcome.result = callEntryPoint(name, outcome);
        }
    } catch (const qxMessage& message) {
        outcome.error = message;
    } catch (const std::bad_alloc&) {
        outcome.error.emplace(outOfMemory());
    } catch (const std::exception& failure) {
        outcome.error = unexpectedFailure(failure);
    }
    outcome.warnings = host.takeWarnings();
    return outcome;
}

}  // namespace ifdsweep
