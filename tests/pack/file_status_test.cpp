// The word for how the reading of a file ended.

#include "pack/file_status.h"

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "files/file_messages.h"
#include "host/message_texts.h"
#include "ifdsweep/message_catalogue.h"
#include "locate/locate_messages.h"
#include "pack/file_packer.h"
#include "pack/packed_files.h"
#include "read/messages.h"
#include "support/tiff_builder.h"

namespace {

using fixture::shorts;
using ifdsweep::Outcome;

ifdsweep::FileStatus statusOf(const Outcome& outcome) {
    ifdsweep::FilePacker packer;
    packer.begin();
    return ifdsweep::statusOf(packer.pack(outcome));
}

std::string wordOf(const Outcome& outcome) {
    return std::string(ifdsweep::statusWord(statusOf(outcome)));
}

Outcome failed(const char* id) {
    Outcome outcome;
    outcome.error = qxMessage(id, {});
    return outcome;
}

Outcome warned(std::initializer_list<const char*> ids) {
    Outcome outcome;
    for (const char* id : ids) {
        outcome.warnings.push_back({qxMessage(id, {}), {}});
    }
    return outcome;
}

const char* idOf(ifdsweep::MessageId message) {
    return ifdsweep::messageRow(message).id;
}

TEST(FileStatus, SaysOfEachErrorWhatItMeans) {
    using enum ifdsweep::MessageId;
    struct Case {
        const char* id;
        std::string_view word;
    };
    for (const Case& each : std::vector<Case>{
             {idOf(statFailure), "unreadable"},
             {ifdsweep::kOpenFailureId, "unreadable"},
             {ifdsweep::kReadFailedId, "unreadable"},
             {ifdsweep::kInputFailureId, "unreadable"},
             {ifdsweep::kNoWorkerId, "unreadable"},
             {ifdsweep::kTimeoutId, "timeout"},
             {ifdsweep::kStuckId, "timeout"},
             {ifdsweep::kOutOfMemoryId, "memory"},
             {ifdsweep::kWorkerDiedId, "crashed"},
             {ifdsweep::kUnexpectedFailureId, "error"},
             {ifdsweep::kNoTiffStreamId, "error"},
             {idOf(unableToReadTagData), "error"},
             {idOf(tiffHeaderReadFailure), "error"},
             {idOf(badEndianness), "error"},
         }) {
        EXPECT_EQ(wordOf(failed(each.id)), each.word) << each.id;
    }
}

TEST(FileStatus, TellsOfWarningsUnlessTheyTellOfNothingWrong) {
    using enum ifdsweep::MessageId;
    const char* const notLoaded =
        ifdsweep::messageRow(ifdsweep::ReadingMessageId::valuesNotLoaded).id;
    EXPECT_EQ(wordOf({}), "ok");
    EXPECT_EQ(wordOf(warned({idOf(tagDataPastEOF)})), "warned");
    EXPECT_EQ(wordOf(warned({ifdsweep::kReadFailedId})), "warned");
    EXPECT_EQ(wordOf(warned({ifdsweep::kOtherStreamsId, notLoaded})), "ok");
    EXPECT_EQ(wordOf(warned({notLoaded, idOf(tagDataPastEOF), notLoaded})), "warned");
}

TEST(FileStatus, LooksAtEveryStream) {
    Outcome file = warned({idOf(ifdsweep::MessageId::tagDataPastEOF)});
    file.others.push_back(Outcome());
    EXPECT_EQ(wordOf(file), "warned");
    file.others.push_back(failed(ifdsweep::kOutOfMemoryId));
    file.others.push_back(failed(ifdsweep::kNoTiffStreamId));
    EXPECT_EQ(wordOf(file), "memory");
    Outcome sound;
    sound.others.push_back(warned({idOf(ifdsweep::MessageId::tagDataPastEOF)}));
    EXPECT_EQ(wordOf(sound), "warned");
}

TEST(FileStatus, IsThatOfFilesThatWereRead) {
    fixture::TiffBuilder sound({});
    sound.add({shorts(256, {4})});
    fixture::TiffBuilder damaged({});
    damaged.add({shorts(256, {4}), shorts(257, {})});
    const auto wordOfBytes = [](const fixture::Bytes& bytes) {
        return std::string(ifdsweep::statusWord(ifdsweep::statusOf(fixture::packed(bytes))));
    };
    EXPECT_EQ(wordOfBytes(sound.build().bytes), "ok");
    EXPECT_EQ(wordOfBytes(damaged.build().bytes), "warned");
    EXPECT_EQ(wordOfBytes(fixture::bytesOf("just a text")), "error");
    ifdsweep::Host host;
    EXPECT_EQ(wordOf(ifdsweep::read(host, "/no/such/file")), "unreadable");
    EXPECT_EQ(wordOf(ifdsweep::read(host, "/")), "unreadable");
}

}  // namespace
