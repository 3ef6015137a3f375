#pragma once

// Stream reading: the directories of one TIFF stream of a file, by the rules that are asked for,
// and the checks of its image data.
//
// Ownership: borrows everything that it is given. Threads: that of the host. Errors: those of the
// entry point (reading.h), and std::bad_alloc.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "check/image_segments.h"
#include "ifdsweep/entry_sink.h"
#include "ifdsweep/host.h"
#include "ifdsweep/read.h"
#include "ifdsweep/value.h"
#include "read/image_checker.h"
#include "read/place_recorder.h"

namespace ifdsweep {

/// A stream that is to be read.
struct StreamInHand {
    double position = 0;  ///< of the TIFF header, in what the host shows of the file
    DirectoryKind kind = DirectoryKind::primary;  ///< what the directories of its chain describe
    StreamKind surroundings = StreamKind::tiff;   ///< what it lies in
    const char* carrier = nullptr;                ///< see `Reading::carrier`
};

class StreamReading {
public:
    /// @param placeRecorder told of the walk
    StreamReading(Host& readingHost, const std::u16string& fileName, const ReadOptions& readOptions,
                  PlaceRecorder& placeRecorder) noexcept
        : host(readingHost), name(fileName), options(readOptions), recorder(placeRecorder) {}

    /// The records of the stream. To be called once.
    [[nodiscard]] ValueHandle read(const StreamInHand& stream);

    /// What the checks found, also where the reading ended with an error.
    [[nodiscard]] std::vector<Warning> takeFindings();

private:
    [[nodiscard]] std::unique_ptr<ImageChecker> makeChecker(const StreamInHand& stream) const;
    [[nodiscard]] ValueHandle readRecords(const StreamInHand& stream) const;
    [[nodiscard]] ValueHandle readInFull(const StreamInHand& stream) const;
    [[nodiscard]] ValueHandle readByRules(const StreamInHand& stream, const Reading& reading) const;
    [[nodiscard]] ValueHandle callEntryPoint(const StreamInHand& stream) const;

    Host& host;
    const std::u16string& name;
    const ReadOptions& options;
    PlaceRecorder& recorder;
    std::unique_ptr<ImageChecker> checker;  ///< null unless image data are checked
};

}  // namespace ifdsweep
