#include "read/stream_reading.h"

#include <array>
#include <optional>
#include <utility>

#include "files/opened_file.h"
#include "host/host_parts.h"
#include "ifdsweep/reading.h"
#include "read/accessed_file.h"

namespace ifdsweep {
namespace {

/// What the first directory of a stream is about, if it is read.
DirectoryRole firstRole(StreamKind surroundings, const ReadOptions& options) {
    const bool isInContainer =
        surroundings == StreamKind::jpeg || surroundings == StreamKind::container;
    return isInContainer && !(options.first >= 1) ? DirectoryRole::wholeFile : DirectoryRole::image;
}

/// A position as a number of bytes. No file begins at what is none: the reading ends at once.
std::uint64_t bytesBefore(double position) {
    constexpr double kTwo63 = 9223372036854775808.0;
    return position >= 0 && position < kTwo63 ? static_cast<std::uint64_t>(position) : 0;
}

}  // namespace

ValueHandle StreamReading::read(const StreamInHand& stream) {
    checker = makeChecker(stream);
    ValueHandle records = readRecords(stream);
    if (checker != nullptr) {
        checker->lookAtBytes(BytesOfFile(*filesOf(host).opened(name)));
    }
    return records;
}

std::vector<Warning> StreamReading::takeFindings() {
    const auto finished = std::exchange(checker, nullptr);
    return finished == nullptr ? std::vector<Warning>() : finished->takeWarnings();
}

/// The checker of a full reading; none where the file does not exist, as the reading will tell.
std::unique_ptr<ImageChecker> StreamReading::makeChecker(const StreamInHand& stream) const {
    if (!options.check || options.reading != ReadingMode::full) {
        return nullptr;
    }
    const std::shared_ptr<OpenedFile> file = filesOf(host).opened(name);
    if (file == nullptr) {
        return nullptr;
    }
    return std::make_unique<ImageChecker>(
        HostParts::of(host), recorder, options.filter,
        StreamExtent{bytesBefore(stream.position), file->size(), stream.surroundings},
        firstRole(stream.surroundings, options));
}

ValueHandle StreamReading::readRecords(const StreamInHand& stream) const {
    if (options.reading == ReadingMode::full) {
        return readInFull(stream);
    }
    if (options.sink == nullptr) {
        return callEntryPoint(stream);
    }
    return readByRules(stream, {.sink = &recorder});
}

ValueHandle StreamReading::readInFull(const StreamInHand& stream) const {
    Reading reading{.rules = ReadingRules::full(),
                    .sink = &recorder,
                    .filter = options.filter,
                    .longestValue = options.longestValue.value_or(kUnlimited),
                    .kind = stream.kind,
                    .carrier = stream.carrier};
    if (checker == nullptr) {
        return readByRules(stream, reading);
    }
    std::optional<TagFilter> widened;
    if (options.filter != nullptr) {
        widened = withCheckedTags(*options.filter);
        reading.filter = &*widened;
    }
    reading.sink = checker.get();
    return readByRules(stream, reading);
}

ValueHandle StreamReading::readByRules(const StreamInHand& stream, const Reading& reading) const {
    return ValueHandle(readDirectories(name, stream.position, options.first, options.max, reading));
}

ValueHandle StreamReading::callEntryPoint(const StreamInHand& stream) const {
    const std::array<ValueHandle, 4> inputs{ValueHandle(qxCreateUString(name.data(), name.size())),
                                            ValueHandle(qxCreateDoubleScalar(stream.position)),
                                            ValueHandle(qxCreateDoubleScalar(options.first)),
                                            ValueHandle(qxCreateDoubleScalar(options.max))};
    std::array<const qxArray*, 4> handles{inputs[0].get(), inputs[1].get(), inputs[2].get(),
                                          inputs[3].get()};
    qxArray* output = nullptr;
    qxeFunction(1, &output, static_cast<int>(handles.size()), handles.data());
    return ValueHandle(output);
}

}  // namespace ifdsweep
