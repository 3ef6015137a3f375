// The message catalogue against a list of its own, and every message provoked.

#include <gtest/gtest.h>

#include <boost/numeric/conversion/cast.hpp>
#include <functional>
#include <map>
#include <set>
#include <string_view>

#include "adapter/messages.h"
#include "dict/data_types.h"
#include "files/file_bytes.h"
#include "host/host_parts.h"
#include "support/planned_faults.h"
#include "support/tags.h"
#include "support/tiff_matrix.h"
#include "tag/tiff_tag.h"

namespace fixture {
namespace {

using namespace ifdsweep::module;
using ifdsweep::kMessageCatalogue;
using ifdsweep::MessageRow;
using ifdsweep::MessageSeverity;

using Fault = fixture::Fault;

struct MessageCase {
    std::string_view name;
    std::string_view arguments;  ///< 'i' integer, 't' text
    MessageSeverity severity;
};

const std::vector<MessageCase>& messageCases() {
    using enum MessageSeverity;
    static const std::vector<MessageCase> kCases{
        {"statFailure", "", error},
        {"unableToReadTagData", "", error},
        {"tiffHeaderReadFailure", "", error},
        {"badEndianness", "iit", error},
        {"badTiffIfdOffset", "ii", error},
        {"badTiffHeaderIfdOffset", "", error},
        {"badNextIfdPointerSeek", "", warning},
        {"nextIfdPointerOutOfRange", "i", warning},
        {"nextIfdOffsetReadError", "i", warning},
        {"numberOfDirectoryEntriesReadError", "i", warning},
        {"numDirectoryEntriesIsZero", "i", warning},
        {"jpegApp1MaximumLengthExceeded", "i", warning},
        {"badIFDread", "t", error},
        {"strftimeFailure", "", error},
        {"zeroComponentCount", "t", warning},
        {"noTypeFormatId", "t", warning},
        {"unrecognizedTagFormatId", "i", both},
        {"unrecognizedTagId", "i", warning},
        {"tagDataPastEOF", "ii", warning},
        {"badTagDataOffsetSeek", "i", warning},
        {"unableToReadTiffTag", "ti", warning},
        {"unrecognizedIfd", "i", warning},
        {"badTagValueDivisionByZero", "t", warning},
        {"badSubIfdSeek", "i", warning},
        {"illegallyNestedIFD", "it", warning},
        {"unrecognizedIfdId", "i", error},
        {"badTagDataCount", "itii", error},
        {"expectedTagDataFormat", "ttt", warning},
        {"expectedTagDataFormatMultiple", "ttt", warning},
        {"argumentOutOfBounds", "", error},
    };
    return kCases;
}

std::string fullId(std::string_view name) {
    return std::string(name == "argumentOutOfBounds" ? "Velmora:pixlore:validate:"
                                                     : "Velmora:pixlore:ifdsweep:") +
           std::string(name);
}

TEST(MessageCatalogue, HasItsRowsAndNoOthers) {
    std::map<std::string, MessageCase> expected;
    for (const MessageCase& each : messageCases()) {
        expected.emplace(fullId(each.name), each);
    }
    EXPECT_EQ(kMessageCatalogue.size(), expected.size());
    for (const MessageRow& row : kMessageCatalogue) {
        const auto found = expected.find(row.id);
        ASSERT_NE(found, expected.end()) << row.id;
        EXPECT_EQ(row.arguments, found->second.arguments) << row.id;
        EXPECT_EQ(row.severity, found->second.severity) << row.id;
    }
}

/// The messages of a call in their order, the error last.
Lines messagesOf(const Call& given) {
    Lines lines = given.warnings;
    if (!given.error.empty()) {
        lines.push_back(given.error);
    }
    return lines;
}

/// The messages of an operation that is called without a file.
Lines messagesOf(const std::function<void()>& operation) {
    ifdsweep::Host host;
    const ifdsweep::Host::Scope scope(host);
    Lines lines;
    std::string error;
    try {
        operation();
    } catch (const qxMessage& message) {
        error = messageDump(message);
    } catch (const TiffTagsRecoverableError&) {
        // A warning has been given.
    }
    for (const qxMessage& warning : host.warnings()) {
        lines.push_back(messageDump(warning));
    }
    if (!error.empty()) {
        lines.push_back(error);
    }
    return lines;
}

/// Calls once for each read or seek, that one failing, until a message comes of it.
Lines messagesWhenFailing(const Bytes& bytes, Fault::Operation operation, Fault::Effect effect,
                          std::string_view name, const Numbers& numbers = {}) {
    for (std::uint64_t number = 1; number <= 40; ++number) {
        const Lines lines = messagesOf(callEntryPoint(bytes, numbers, [&](ifdsweep::Host& host) {
            fixture::setFaultPlan(host, {{operation, number, effect, 1}});
        }));
        if (!lines.empty() && lines.front().rfind(std::string(name) + '(', 0) == 0) {
            return lines;
        }
    }
    return {};
}

class Messages : public TiffMatrix {
protected:
    static Bytes bytesOf(const Chain& chain) { return fileOf(chain).bytes; }
    static Bytes jpegOf(const Directory& directory) {
        return TiffBuilder({Layout::classic, format().byteOrder})
            .add(directory)
            .buildInJpeg()
            .bytes;
    }
};
IFDSWEEP_TIFF_MATRIX(Messages);

TEST_P(Messages, EachIsProvokedWithItsArguments) {
    const auto at = [](std::uint64_t position) { return '(' + std::to_string(position) + ')'; };
    const TiffFile one = fileOf({{ascii(kArtist, "0123456789")}}, kFar);
    const std::size_t size = one.bytes.size();
    TiffFile two = fileOf({{shorts(256, {1})}, {shorts(256, {2})}});
    const TiffFile nested = fileOf({{pointer(kExif, {{{ascii(271, "m")}}})}});
    const std::uint64_t first = one.places[0].position;
    const auto patched = [](TiffFile file, std::size_t position, std::uint64_t value) {
        file.setOffset(position, value);
        return file.bytes;
    };
    std::map<std::string, std::pair<Lines, Lines>> seen;  // messages, expected messages
    seen["statFailure"] = {messagesOf(callOnFile(u"/no such file")), {"statFailure()"}};
    seen["unableToReadTagData"] = {
        messagesOf(callEntryPoint(jpegOf(Directory{shorts(1, {1})}.withEntryCount(6000)),
                                  {.initialOffset = 12})),
        {"jpegApp1MaximumLengthExceeded(6000)", "unableToReadTagData()"}};
    seen["jpegApp1MaximumLengthExceeded"] = seen["unableToReadTagData"];
    seen["tiffHeaderReadFailure"] = {messagesOf(callEntryPoint(truncated(one.bytes, 1))),
                                     {"tiffHeaderReadFailure()"}};
    seen["badEndianness"] = {messagesOf(callEntryPoint(Bytes{77, 73, 0, 42})),
                             {"badEndianness(77, 73, u'call.tif')"}};
    seen["badTiffIfdOffset"] = {
        messagesOf(callEntryPoint(TiffBuilder(format()).withFirstOffset(1000).build().bytes)),
        {"badTiffIfdOffset(1000, " + std::to_string(format().headerSize()) + ')'}};
    seen["badTiffHeaderIfdOffset"] = {
        messagesWhenFailing(two.bytes, Fault::Operation::seek, Fault::Effect::fail,
                            "badTiffHeaderIfdOffset", {.firstIfdIndex = 1}),
        {"badTiffHeaderIfdOffset()"}};
    seen["badNextIfdPointerSeek"] = {
        messagesWhenFailing(two.bytes, Fault::Operation::seek, Fault::Effect::fail,
                            "badNextIfdPointerSeek"),
        {"badNextIfdPointerSeek()"}};
    seen["nextIfdPointerOutOfRange"] = {
        messagesOf(callEntryPoint(patched(one, one.places[0].next, size))),
        {"nextIfdPointerOutOfRange" + at(size)}};
    seen["nextIfdOffsetReadError"] = {
        messagesOf(callEntryPoint(truncated(two.bytes, two.bytes.size() - 1))),
        {"nextIfdOffsetReadError" + at(two.places[1].next)}};
    seen["numberOfDirectoryEntriesReadError"] = {
        messagesOf(callEntryPoint(truncated(one.bytes, first + 1))),
        {"numberOfDirectoryEntriesReadError" + at(first)}};
    seen["numDirectoryEntriesIsZero"] = {messagesOf(callEntryPoint(bytesOf({Directory{}}))),
                                         {"numDirectoryEntriesIsZero" + at(first)}};
    seen["badIFDread"] = {
        messagesOf(callEntryPoint(bytesOf({Directory{shorts(1, {1})}.withEntryCount(999)}))),
        {"badIFDread('IFD #1')"}};
    seen["strftimeFailure"] = {
        messagesOf(callEntryPoint(
            one.bytes, {},
            [&](ifdsweep::Host& host) {
                qxFileStatus status;
                status.type = qxFileType::regular;
                status.fileSize = size;
                filesOf(host).serve(kFileName,
                                    {std::make_shared<ifdsweep::MemoryBytes>(one.bytes), status});
            })),
        {"strftimeFailure()"}};
    seen["zeroComponentCount"] = {messagesOf(callEntryPoint(bytesOf({{ascii(kArtist, "")}}))),
                                  {"zeroComponentCount('Artist')"}};
    seen["noTypeFormatId"] = {
        messagesOf(callEntryPoint(bytesOf({{ascii(kArtist, "x").withType(0)}}))),
        {"noTypeFormatId('Artist')"}};
    seen["unrecognizedTagFormatId"] = {
        messagesOf(callEntryPoint(bytesOf({{ascii(kArtist, "x").withType(99)}}))),
        {"unrecognizedTagFormatId(99)"}};
    seen["unrecognizedTagFormatId as an error"] = {
        messagesOf([] { (void)get_datatype_name(static_cast<TIFFDataType>(14)); }),
        {"unrecognizedTagFormatId(14)"}};
    seen["unrecognizedTagId"] = {messagesOf([] { const TiffTag tag(321, primaryIFD); }),
                                 {"unrecognizedTagId(321)"}};
    seen["tagDataPastEOF"] = {messagesOf(callEntryPoint(truncated(one.bytes, size - 1))),
                              {"tagDataPastEOF(315, 10)"}};
    seen["badTagDataOffsetSeek"] = {
        messagesWhenFailing(one.bytes, Fault::Operation::seek, Fault::Effect::fail,
                            "badTagDataOffsetSeek"),
        {"badTagDataOffsetSeek(315)"}};
    seen["unableToReadTiffTag"] = {
        messagesWhenFailing(one.bytes, Fault::Operation::read, Fault::Effect::deliverShort,
                            "unableToReadTiffTag"),
        {"unableToReadTiffTag('Artist', " + std::to_string(one.places[0].data[0]) + ')'}};
    seen["unrecognizedIfd"] = {messagesOf(callEntryPoint(bytesOf({{numbers(60000, kIfd, {8})}}))),
                               {"unrecognizedIfd(60000)"}};
    seen["badTagValueDivisionByZero"] = {
        messagesOf(callEntryPoint(bytesOf({{numbers(282, kRational, {1, 0})}}))),
        {"badTagValueDivisionByZero('XResolution')"}};
    seen["badSubIfdSeek"] = {messagesWhenFailing(nested.bytes, Fault::Operation::seek,
                                                 Fault::Effect::fail, "badSubIfdSeek"),
                             {"badSubIfdSeek" + at(nested.places[1].position)}};
    seen["illegallyNestedIFD"] = {
        messagesOf(callEntryPoint(bytesOf({{pointer(34853, {{{longs(kExif, {8})}}})}}))),
        {"illegallyNestedIFD(34665, 'GPS')"}};
    seen["unrecognizedIfdId"] = {
        messagesOf([] { const TiffTag tag(259, static_cast<IFDtype_t_>(4)); }),
        {"unrecognizedIfdId(4)"}};
    seen["badTagDataCount"] = {messagesOf(callEntryPoint(bytesOf({{shorts(277, {1, 2, 3})}}))),
                               {"badTagDataCount(277, 'SamplesPerPixel', 3, 1)"}};
    seen["expectedTagDataFormat"] = {
        messagesOf(callEntryPoint(bytesOf({{shorts(kArtist, {1})}}))),
        {"expectedTagDataFormat('Artist', 'TIFF_SHORT', 'TIFF_ASCII')"}};
    seen["expectedTagDataFormatMultiple"] = {
        messagesOf(callEntryPoint(bytesOf({{longs(336, {1})}}))),
        {"expectedTagDataFormatMultiple('DotRange', 'TIFF_LONG', 'TIFF_BYTE, TIFF_SHORT')"}};
    seen["argumentOutOfBounds"] = {
        messagesOf(callEntryPoint(
            one.bytes, {},
            [](ifdsweep::Host& host) {
                fixture::failValueCreation(
                    host, 6, std::make_exception_ptr(boost::numeric::bad_numeric_cast()));
            })),
        {"Velmora:pixlore:validate:argumentOutOfBounds()"}};
    for (const auto& [name, messages] : seen) {
        EXPECT_EQ(messages.first, messages.second) << name;
    }
    for (const MessageCase& each : messageCases()) {
        EXPECT_EQ(seen.count(std::string(each.name)), 1U) << each.name << " is not provoked";
    }
}

}  // namespace
}  // namespace fixture
