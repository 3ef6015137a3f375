#include "ifdsweep/read.h"

#include <array>
#include <cstdint>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <utility>

#include "files/file_names.h"
#include "files/opened_file.h"
#include "host/host_parts.h"
#include "read/image_signature.h"
#include "read/jpeg_locator.h"
#include "read/messages.h"

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

Beginning lookAt(OpenedFile& file, bool imagesOnly) {
    const BytesOfFile bytes(file);
    if (!beginsAsJpeg(bytes)) {
        return {.isImage = !imagesOnly || imageFormatOf(bytes) == ImageFormat::tiff};
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
Beginning lookAt(FileService& files, const std::u16string& name, bool imagesOnly) {
    const std::shared_ptr<OpenedFile> file = files.opened(name);
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

Outcome read(Host& host, std::string_view path, const ReadOptions& options) {
    Outcome outcome;
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
        const std::u16string name = fileNameFromSystem(path);
        const auto offset = findInitialOffset(filesOf(host), name, options);
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
