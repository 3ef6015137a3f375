#pragma once

// The catalogue of the module's messages: their identifiers, how each is given, and its arguments.
// Hosts find here what they need texts for. Constants, which own nothing and last as long as
// the program; any thread. Stable: part of the API.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ifdsweep {

/// Every message of the module. The row of the same position in `kMessageCatalogue` describes it.
enum class MessageId : std::uint8_t {
    statFailure,
    unableToReadTagData,
    tiffHeaderReadFailure,
    badEndianness,
    badTiffIfdOffset,
    badTiffHeaderIfdOffset,
    badNextIfdPointerSeek,
    nextIfdPointerOutOfRange,
    nextIfdOffsetReadError,
    numberOfDirectoryEntriesReadError,
    numDirectoryEntriesIsZero,
    jpegApp1MaximumLengthExceeded,
    badIFDread,
    strftimeFailure,
    zeroComponentCount,
    noTypeFormatId,
    unrecognizedTagFormatId,
    unrecognizedTagId,
    tagDataPastEOF,
    badTagDataOffsetSeek,
    unableToReadTiffTag,
    unrecognizedIfd,
    badTagValueDivisionByZero,
    badSubIfdSeek,
    illegallyNestedIFD,
    unrecognizedIfdId,
    badTagDataCount,
    expectedTagDataFormat,
    expectedTagDataFormatMultiple,
    argumentOutOfBounds,
};

/// The messages that the reading by other rules than the contract's gives beside these (reading.h).
/// The row of the same position in `kReadingCatalogue` describes it.
enum class ReadingMessageId : std::uint8_t {
    layoutGuessed,
    directoryCut,
    pointerHoldsNoOffset,
    valuesNotLoaded,
};

/// What a check of the image data finds (read.h). The row of the same position in `kCheckCatalogue`
/// describes it.
enum class CheckMessageId : std::uint8_t {
    imageDataMissing,
    stripsAndTiles,
    imageSizeZero,
    rowsPerStripZero,
    tileSizeZero,
    tileSizeUneven,
    imageDataNotChecked,
    byteCountsMissing,
    imageDataCountMismatch,
    imageDataPastEOF,
    imageDataEmpty,
    imageDataUnplaced,
    imageDataOverlaps,
    imageDataTooShort,
    bitsPerSampleCountMismatch,
    extraSamplesTooMany,
    tooFewSamples,
    colorMapCountMismatch,
    jpegTablesDamaged,
    imageDataNotJpeg,
    jpegDataPastEOF,
    jpegDataWithoutStart,
    jpegDataWithoutEnd,
    jpegWithoutImageData,
    jpegWithoutEnd,
};

/// How a message is given. `both` is a warning in one place and an error in another.
enum class MessageSeverity : std::uint8_t { error, warning, both };

/// One row of a message catalogue.
template <class Id>
struct CatalogueRow {
    Id message;
    const char* id;              ///< full identifier
    MessageSeverity severity;    ///< how it is given
    std::string_view arguments;  ///< one letter each: 'i' signed 64-bit integer, 't' text
};

using MessageRow = CatalogueRow<MessageId>;
using ReadingMessageRow = CatalogueRow<ReadingMessageId>;
using CheckMessageRow = CatalogueRow<CheckMessageId>;

// clang-format off
/// The catalogue: every message with its identifier, severity and argument kinds.
inline constexpr std::array<MessageRow, 30> kMessageCatalogue{{
    {MessageId::statFailure,                       "Velmora:pixlore:ifdsweep:statFailure",                       MessageSeverity::error,   ""},
    {MessageId::unableToReadTagData,               "Velmora:pixlore:ifdsweep:unableToReadTagData",               MessageSeverity::error,   ""},
    {MessageId::tiffHeaderReadFailure,             "Velmora:pixlore:ifdsweep:tiffHeaderReadFailure",             MessageSeverity::error,   ""},
    {MessageId::badEndianness,                     "Velmora:pixlore:ifdsweep:badEndianness",                     MessageSeverity::error,   "iit"},
    {MessageId::badTiffIfdOffset,                  "Velmora:pixlore:ifdsweep:badTiffIfdOffset",                  MessageSeverity::error,   "ii"},
    {MessageId::badTiffHeaderIfdOffset,            "Velmora:pixlore:ifdsweep:badTiffHeaderIfdOffset",            MessageSeverity::error,   ""},
    {MessageId::badNextIfdPointerSeek,             "Velmora:pixlore:ifdsweep:badNextIfdPointerSeek",             MessageSeverity::warning, ""},
    {MessageId::nextIfdPointerOutOfRange,          "Velmora:pixlore:ifdsweep:nextIfdPointerOutOfRange",          MessageSeverity::warning, "i"},
    {MessageId::nextIfdOffsetReadError,            "Velmora:pixlore:ifdsweep:nextIfdOffsetReadError",            MessageSeverity::warning, "i"},
    {MessageId::numberOfDirectoryEntriesReadError, "Velmora:pixlore:ifdsweep:numberOfDirectoryEntriesReadError", MessageSeverity::warning, "i"},
    {MessageId::numDirectoryEntriesIsZero,         "Velmora:pixlore:ifdsweep:numDirectoryEntriesIsZero",         MessageSeverity::warning, "i"},
    {MessageId::jpegApp1MaximumLengthExceeded,     "Velmora:pixlore:ifdsweep:jpegApp1MaximumLengthExceeded",     MessageSeverity::warning, "i"},
    {MessageId::badIFDread,                        "Velmora:pixlore:ifdsweep:badIFDread",                        MessageSeverity::error,   "t"},
    {MessageId::strftimeFailure,                   "Velmora:pixlore:ifdsweep:strftimeFailure",                   MessageSeverity::error,   ""},
    {MessageId::zeroComponentCount,                "Velmora:pixlore:ifdsweep:zeroComponentCount",                MessageSeverity::warning, "t"},
    {MessageId::noTypeFormatId,                    "Velmora:pixlore:ifdsweep:noTypeFormatId",                    MessageSeverity::warning, "t"},
    {MessageId::unrecognizedTagFormatId,           "Velmora:pixlore:ifdsweep:unrecognizedTagFormatId",           MessageSeverity::both,    "i"},
    {MessageId::unrecognizedTagId,                 "Velmora:pixlore:ifdsweep:unrecognizedTagId",                 MessageSeverity::warning, "i"},
    {MessageId::tagDataPastEOF,                    "Velmora:pixlore:ifdsweep:tagDataPastEOF",                    MessageSeverity::warning, "ii"},
    {MessageId::badTagDataOffsetSeek,              "Velmora:pixlore:ifdsweep:badTagDataOffsetSeek",              MessageSeverity::warning, "i"},
    {MessageId::unableToReadTiffTag,               "Velmora:pixlore:ifdsweep:unableToReadTiffTag",               MessageSeverity::warning, "ti"},
    {MessageId::unrecognizedIfd,                   "Velmora:pixlore:ifdsweep:unrecognizedIfd",                   MessageSeverity::warning, "i"},
    {MessageId::badTagValueDivisionByZero,         "Velmora:pixlore:ifdsweep:badTagValueDivisionByZero",         MessageSeverity::warning, "t"},
    {MessageId::badSubIfdSeek,                     "Velmora:pixlore:ifdsweep:badSubIfdSeek",                     MessageSeverity::warning, "i"},
    {MessageId::illegallyNestedIFD,                "Velmora:pixlore:ifdsweep:illegallyNestedIFD",                MessageSeverity::warning, "it"},
    {MessageId::unrecognizedIfdId,                 "Velmora:pixlore:ifdsweep:unrecognizedIfdId",                 MessageSeverity::error,   "i"},
    {MessageId::badTagDataCount,                   "Velmora:pixlore:ifdsweep:badTagDataCount",                   MessageSeverity::error,   "itii"},
    {MessageId::expectedTagDataFormat,             "Velmora:pixlore:ifdsweep:expectedTagDataFormat",             MessageSeverity::warning, "ttt"},
    {MessageId::expectedTagDataFormatMultiple,     "Velmora:pixlore:ifdsweep:expectedTagDataFormatMultiple",     MessageSeverity::warning, "ttt"},
    {MessageId::argumentOutOfBounds,               "Velmora:pixlore:validate:argumentOutOfBounds",               MessageSeverity::error,   ""},
}};

/// The catalogue of the reading's own messages.
inline constexpr std::array<ReadingMessageRow, 4> kReadingCatalogue{{
    {ReadingMessageId::layoutGuessed,        "ifdsweep:layoutGuessed",        MessageSeverity::warning, "i"},
    {ReadingMessageId::directoryCut,         "ifdsweep:directoryCut",         MessageSeverity::warning, "iii"},
    {ReadingMessageId::pointerHoldsNoOffset, "ifdsweep:pointerHoldsNoOffset", MessageSeverity::warning, "it"},
    {ReadingMessageId::valuesNotLoaded,      "ifdsweep:valuesNotLoaded",      MessageSeverity::warning, "iit"},
}};

/// The catalogue of the checks' messages.
inline constexpr std::array<CheckMessageRow, 25> kCheckCatalogue{{
    {CheckMessageId::imageDataMissing,           "ifdsweep:imageDataMissing",           MessageSeverity::warning, ""},
    {CheckMessageId::stripsAndTiles,             "ifdsweep:stripsAndTiles",             MessageSeverity::warning, ""},
    {CheckMessageId::imageSizeZero,              "ifdsweep:imageSizeZero",              MessageSeverity::warning, "ii"},
    {CheckMessageId::rowsPerStripZero,           "ifdsweep:rowsPerStripZero",           MessageSeverity::warning, ""},
    {CheckMessageId::tileSizeZero,               "ifdsweep:tileSizeZero",               MessageSeverity::warning, "ii"},
    {CheckMessageId::tileSizeUneven,             "ifdsweep:tileSizeUneven",             MessageSeverity::warning, "ii"},
    {CheckMessageId::imageDataNotChecked,        "ifdsweep:imageDataNotChecked",        MessageSeverity::warning, "t"},
    {CheckMessageId::byteCountsMissing,          "ifdsweep:byteCountsMissing",          MessageSeverity::warning, "t"},
    {CheckMessageId::imageDataCountMismatch,     "ifdsweep:imageDataCountMismatch",     MessageSeverity::warning, "tiii"},
    {CheckMessageId::imageDataPastEOF,           "ifdsweep:imageDataPastEOF",           MessageSeverity::warning, "tiiiii"},
    {CheckMessageId::imageDataEmpty,             "ifdsweep:imageDataEmpty",             MessageSeverity::warning, "tiii"},
    {CheckMessageId::imageDataUnplaced,          "ifdsweep:imageDataUnplaced",          MessageSeverity::warning, "tiii"},
    {CheckMessageId::imageDataOverlaps,          "ifdsweep:imageDataOverlaps",          MessageSeverity::warning, "tiii"},
    {CheckMessageId::imageDataTooShort,          "ifdsweep:imageDataTooShort",          MessageSeverity::warning, "tiiiii"},
    {CheckMessageId::bitsPerSampleCountMismatch, "ifdsweep:bitsPerSampleCountMismatch", MessageSeverity::warning, "ii"},
    {CheckMessageId::extraSamplesTooMany,        "ifdsweep:extraSamplesTooMany",        MessageSeverity::warning, "ii"},
    {CheckMessageId::tooFewSamples,              "ifdsweep:tooFewSamples",              MessageSeverity::warning, "iii"},
    {CheckMessageId::colorMapCountMismatch,      "ifdsweep:colorMapCountMismatch",      MessageSeverity::warning, "ii"},
    {CheckMessageId::jpegTablesDamaged,          "ifdsweep:jpegTablesDamaged",          MessageSeverity::warning, "i"},
    {CheckMessageId::imageDataNotJpeg,           "ifdsweep:imageDataNotJpeg",           MessageSeverity::warning, "tiii"},
    {CheckMessageId::jpegDataPastEOF,            "ifdsweep:jpegDataPastEOF",            MessageSeverity::warning, "ii"},
    {CheckMessageId::jpegDataWithoutStart,       "ifdsweep:jpegDataWithoutStart",       MessageSeverity::warning, "i"},
    {CheckMessageId::jpegDataWithoutEnd,         "ifdsweep:jpegDataWithoutEnd",         MessageSeverity::warning, "ii"},
    {CheckMessageId::jpegWithoutImageData,       "ifdsweep:jpegWithoutImageData",       MessageSeverity::warning, "i"},
    {CheckMessageId::jpegWithoutEnd,             "ifdsweep:jpegWithoutEnd",             MessageSeverity::warning, "i"},
}};
// clang-format on

/// The catalogue row of a message.
constexpr const MessageRow& messageRow(MessageId message) {
    return kMessageCatalogue[static_cast<std::size_t>(message)];
}

/// The catalogue row of a message of the reading's own.
constexpr const ReadingMessageRow& messageRow(ReadingMessageId message) {
    return kReadingCatalogue[static_cast<std::size_t>(message)];
}

/// The catalogue row of a message of the checks'.
constexpr const CheckMessageRow& messageRow(CheckMessageId message) {
    return kCheckCatalogue[static_cast<std::size_t>(message)];
}

}  // namespace ifdsweep
