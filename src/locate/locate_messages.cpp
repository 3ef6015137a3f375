#include "locate/locate_messages.h"

#include <array>
#include <string>

#include "text/count_text.h"

namespace ifdsweep {
namespace {

// clang-format off
constexpr std::array<MessageTextRow, 7> kTexts{{
    {kNoExifSegmentId, "i",
     "no Exif segment in this JPEG file: its image data begins at position {1} and none stands before it",
     "A JPEG file holds its directories in an Exif segment, and this one has none. Argument: where the search ended.",
     "Nothing is wrong with the file, and there is nothing in it to show."},
    {kBadJpegSegmentId, "i",
     "no Exif segment in this JPEG file: its segments break off at position {1} and none stands before it",
     "The segments of the JPEG file are damaged before an Exif segment was found. Argument: where they break off.",
     "If you know where the TIFF stream begins, give its --offset. Otherwise compare the file with another copy of it."},
    {kNoTiffStreamId, "ttt",
     "no {1} in this {2}, {3}",
     "Files of this kind hold their directories in such a place, and this one has none. Arguments: what was looked for, in what, and what was passed.",
     "Nothing is wrong with the file, and there is nothing in it to show."},
    {kBadContainerId, "ttti",
     "no {1} in this {2}: its {3} at position {4} is damaged and none stands before it",
     "The file is damaged before a TIFF stream was found in it. Arguments: what was looked for, in what, the damaged piece and its position.",
     "If you know where the TIFF stream begins, give its --offset. Otherwise compare the file with another copy of it."},
    {kContainerDamagedId, "tti",
     "the {1} at position {3} of this {2} is damaged: TIFF streams behind it may not be found",
     "The file is damaged behind the stream that was read. There may be more streams in it. Arguments: the damaged piece, of what, and its position.",
     "Compare the file with another copy of it."},
    {kOtherStreamsId, "ti",
     "TIFF streams of this {1} that are not read: {2}",
     "The file holds several TIFF streams, of which the first was read. Arguments: the kind of file, how many others it holds.",
     "Read all of them with --streams all."},
    {kStreamIncompleteId, "tt",
     "the {1} is incomplete: {2}",
     "The stream does not lie in one piece in the file, and could be put together in part: what there is of it was read. Arguments: the stream, the reason.",
     "Compare the file with another copy of it."},
}};
// clang-format on

qxMessageArgument asText(std::string_view text) {
    return qxMessageText(std::string(text));
}

qxMessageArgument asInteger(std::uint64_t number) {
    return static_cast<std::int64_t>(number);
}

}  // namespace

std::span<const MessageTextRow> locateTexts() noexcept {
    return kTexts;
}

qxMessage noTiffStream(const Container& container, const Located& located) {
    if (located.damagedAt) {
        return {kBadContainerId,
                {asText(container.sought), asText(container.noun), asText(container.piece),
                 asInteger(*located.damagedAt)}};
    }
    const std::string passed = countText(located.pieceCount, std::string(container.passed),
                                         std::string(container.several));
    return {kNoTiffStreamId, {asText(container.sought), asText(container.noun), asText(passed)}};
}

qxMessage noExifSegment(const Container& /*container*/, const Located& located) {
    return {located.damagedAt ? kBadJpegSegmentId : kNoExifSegmentId, {asInteger(located.endedAt)}};
}

qxMessage containerDamaged(const Container& container, const Located& located) {
    return {kContainerDamagedId,
            {asText(container.piece), asText(container.noun), asInteger(*located.damagedAt)}};
}

qxMessage otherStreams(const Container& container, std::uint64_t count) {
    return {kOtherStreamsId, {asText(container.noun), asInteger(count)}};
}

qxMessage streamIncomplete(std::string_view name, std::string_view reason) {
    return {kStreamIncompleteId, {asText(name), asText(reason)}};
}

}  // namespace ifdsweep
