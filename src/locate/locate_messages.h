#pragma once

// Locate messages: what the search for TIFF streams in a container has to say. Constant data and
// pure functions; any thread.

#include <cstdint>
#include <span>
#include <string_view>

#include "host/message_texts.h"
#include "ifdsweep/qx.h"
#include "locate/containers.h"

namespace ifdsweep {

/// Errors.
inline constexpr const char* kNoExifSegmentId = "ifdsweep:noExifSegment";
inline constexpr const char* kBadJpegSegmentId = "ifdsweep:badJpegSegment";
inline constexpr const char* kNoTiffStreamId = "ifdsweep:noTiffStream";
inline constexpr const char* kBadContainerId = "ifdsweep:badContainer";
/// Warnings.
inline constexpr const char* kContainerDamagedId = "ifdsweep:containerDamaged";
inline constexpr const char* kOtherStreamsId = "ifdsweep:otherStreams";
inline constexpr const char* kStreamIncompleteId = "ifdsweep:streamIncomplete";

/// A row for each of them.
[[nodiscard]] std::span<const MessageTextRow> locateTexts() noexcept;

/// The errors of a file without a stream (`Container::noStream`).
[[nodiscard]] qxMessage noTiffStream(const Container& container, const Located& located);
[[nodiscard]] qxMessage noExifSegment(const Container& container, const Located& located);

/// The warning of a search that ended for damage; there must be some.
[[nodiscard]] qxMessage containerDamaged(const Container& container, const Located& located);

/// The warning that a file has streams which nobody asked to read.
/// @param count how many
[[nodiscard]] qxMessage otherStreams(const Container& container, std::uint64_t count);

/// The warning that of a stream not all could be put together.
/// @param name   of the stream
/// @param reason in words
[[nodiscard]] qxMessage streamIncomplete(std::string_view name, std::string_view reason);

}  // namespace ifdsweep
