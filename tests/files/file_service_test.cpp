#include "files/file_service.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "adapter/messages.h"
#include "files/file_bytes.h"
#include "files/file_names.h"
#include "host/host_parts.h"
#include "host/message_texts.h"
#include "ifdsweep/host.h"
#include "support/planned_faults.h"
#include "support/temporary_file.h"

namespace {

using fixture::Fault;
using ifdsweep::Host;
using ifdsweep::MessageId;
using ifdsweep::messageRow;
using ifdsweep::module::Message;

struct StreamCloser {
    void operator()(std::FILE* stream) const { static_cast<void>(std::fclose(stream)); }
};
using StreamHandle = std::unique_ptr<std::FILE, StreamCloser>;

std::vector<std::uint8_t> patternOf(std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    for (std::size_t index = 0; index < size; ++index) {
        bytes[index] = static_cast<std::uint8_t>((index * 2654435761U >> 11) & 0xFF);
    }
    return bytes;
}

class Files : public testing::Test {
protected:
    [[nodiscard]] static StreamHandle open(const std::u16string& name) {
        return StreamHandle(qxOpenFile(name, "rb"));
    }

    /// The bytes that one fread of `length` bytes gives.
    [[nodiscard]] static std::size_t read(const StreamHandle& stream, std::size_t length) {
        std::vector<std::uint8_t> target(length + 1);
        return std::fread(target.data(), 1, length, stream.get());
    }

    [[nodiscard]] static std::vector<std::string> idsOf(const std::vector<qxMessage>& messages) {
        std::vector<std::string> ids;
        for (const qxMessage& message : messages) {
            ids.emplace_back(message.id());
        }
        return ids;
    }

    /// Writes a file into the folder.
    [[nodiscard]] std::string write(const std::string& name, const fixture::Bytes& bytes) const {
        const std::string path = (folder / name).string();
        fixture::writeFile(path, bytes);
        return path;
    }

    fixture::TemporaryFolder folder;
    Host host;
    Host::Scope scope{host};
};

TEST_F(Files, StreamsEqualTheFile) {
    const std::vector<std::uint8_t> bytes = patternOf(700'000);
    const std::u16string onDisk = ifdsweep::fileNameFromSystem(write("caf\xE9.tif", bytes));
    filesOf(host).serve(u"served", bytes);
    for (const std::u16string& name : {onDisk, std::u16string(u"served")}) {
        const StreamHandle stream = open(name);
        ASSERT_NE(stream, nullptr);
        std::mt19937 random(3);
        for (int step = 0; step < 500; ++step) {
            const std::size_t position = random() % (bytes.size() + 10);
            const std::size_t length = random() % (step % 20 == 0 ? 400'000 : 200);
            if (step % 2 == 0) {
                ASSERT_EQ(::fseeko(stream.get(), static_cast<off_t>(position), SEEK_SET), 0);
            }
            const auto before = static_cast<std::size_t>(::ftello(stream.get()));
            std::vector<std::uint8_t> target(length);
            const std::size_t got = std::fread(target.data(), 1, length, stream.get());
            const std::size_t left = before < bytes.size() ? bytes.size() - before : 0;
            ASSERT_EQ(got, std::min(length, left));
            ASSERT_TRUE(got == 0 || std::memcmp(target.data(), bytes.data() + before, got) == 0);
            ASSERT_EQ(::ftello(stream.get()), static_cast<off_t>(before + got));
        }
    }
}

TEST_F(Files, EveryPositionUpToTheLastCanBeSought) {
    const std::vector<std::uint8_t> bytes = patternOf(100);
    filesOf(host).serve(u"served", bytes);
    const std::u16string onDisk = ifdsweep::fileNameFromSystem(write("a", patternOf(100)));
    for (const std::u16string& name : {onDisk, std::u16string(u"served")}) {
        const StreamHandle stream = open(name);
        const off_t last = std::numeric_limits<off_t>::max();
        for (const off_t position :
             {off_t{0}, off_t{99}, off_t{100}, off_t{1} << 31, off_t{1} << 32, off_t{1} << 62,
              last - 262'144, last - 1, last}) {
            EXPECT_EQ(::fseeko(stream.get(), position, SEEK_SET), 0) << position;
            EXPECT_EQ(::ftello(stream.get()), position);
            EXPECT_EQ(read(stream, 8), position == 0 ? 8U : position == 99 ? 1U : 0U) << position;
        }
        EXPECT_NE(::fseeko(stream.get(), -1, SEEK_SET), 0);
        EXPECT_EQ(::fseeko(stream.get(), last, SEEK_SET), 0);
        EXPECT_NE(::fseeko(stream.get(), 1, SEEK_CUR), 0);
        EXPECT_EQ(::ftello(stream.get()), last) << "a failed seek moves nothing";
        EXPECT_EQ(::fseeko(stream.get(), -10, SEEK_END), 0);
        EXPECT_EQ(read(stream, 20), 10U);
    }
}

TEST_F(Files, SeekForwardIsRelative) {
    const std::vector<std::uint8_t> bytes = patternOf(100);
    filesOf(host).serve(u"served", bytes);
    const StreamHandle stream = open(u"served");
    EXPECT_EQ(read(stream, 10), 10U);
    EXPECT_EQ(::fseeko(stream.get(), 20, SEEK_CUR), 0);
    EXPECT_EQ(::ftello(stream.get()), 30);
    EXPECT_EQ(std::fgetc(stream.get()), patternOf(100)[30]);
}

TEST_F(Files, StatusOfAFile) {
    const std::string path = write("a", patternOf(123));
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    const timespec times[2]{{100, 5'000}, {1'600'000'000, 123'456'789}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    const std::u16string name = ifdsweep::fileNameFromSystem(path);

    struct Zone {
        const char* text;
        std::int64_t offset;
    };
    for (const auto& [text, offset] :
         {Zone{"UTC0", 0}, Zone{"XXX-5:30", 19'800}, Zone{"YYY8", -28'800}}) {
        ASSERT_EQ(::setenv("TZ", text, 1), 0);
        ::tzset();
        const qxFileStatus status = qxGetFileStatus(name);
        EXPECT_EQ(status.type, qxFileType::regular);
        EXPECT_EQ(status.permissions, 0640U);
        EXPECT_EQ(status.fileSize, 123U);
        EXPECT_EQ(status.timeStamps[0], (100 + offset) * 1'000'000 + 5);
        EXPECT_EQ(status.timeStamps[1], (1'600'000'000 + offset) * 1'000'000 + 123'456);
    }
    ::unsetenv("TZ");
    ::tzset();
    EXPECT_TRUE(qxFileExists(name));
}

TEST_F(Files, StatusWhileOpenIsTheSame) {
    const std::u16string name = ifdsweep::fileNameFromSystem(write("a", patternOf(123)));
    const qxFileStatus before = qxGetFileStatus(name);
    const StreamHandle stream = open(name);
    const qxFileStatus after = qxGetFileStatus(name);
    EXPECT_EQ(after.fileSize, before.fileSize);
    EXPECT_EQ(after.timeStamps, before.timeStamps);
    EXPECT_EQ(after.permissions, before.permissions);
}

TEST_F(Files, FoldersAndAbsentPathsHaveTheirStatus) {
    EXPECT_EQ(qxGetFileStatus(ifdsweep::fileNameFromSystem(folder.path().string())).type,
              qxFileType::directory);
    EXPECT_EQ(qxGetFileStatus(u"/dev/null").type, qxFileType::other);
    for (const std::u16string& name :
         {ifdsweep::fileNameFromSystem((folder / "none").string()), std::u16string(),
          ifdsweep::fileNameFromSystem(write("file", {})) + u"/below",
          ifdsweep::fileNameFromSystem(folder.path().string()) + u'\0' + u"x"}) {
        const qxFileStatus status = qxGetFileStatus(name);
        EXPECT_EQ(status.type, qxFileType::notFound);
        EXPECT_EQ(status.permissions, 0U);
        EXPECT_EQ(status.fileSize, 0U);
        EXPECT_EQ(status.timeStamps[1], qxFileStatus::kNotADateTime);
        EXPECT_FALSE(qxFileExists(name));
        EXPECT_EQ(qxOpenFile(name, "rb"), nullptr);
    }
}

TEST_F(Files, PathsThatCannotBeOpenedAreErrorsOfTheHost) {
    const std::string pipe = (folder / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::string loop = (folder / "loop").string();
    std::filesystem::create_symlink(loop, loop);
    const std::string tooLong = (folder / std::string(300, 'x')).string();

    struct Case {
        std::string path;
        int error;
    };
    std::vector<Case> cases{
        {folder.path().string(), EISDIR}, {pipe, ESPIPE}, {loop, ELOOP}, {tooLong, ENAMETOOLONG}};
    if (::geteuid() != 0) {
        const std::string locked = write("locked", {1});
        ASSERT_EQ(::chmod(locked.c_str(), 0), 0);
        cases.push_back({locked, EACCES});
    }
    for (const auto& [path, error] : cases) {
        const std::u16string name = ifdsweep::fileNameFromSystem(path);
        try {
            static_cast<void>(qxOpenFile(name, "r"));
            ADD_FAILURE() << path << " was opened";
        } catch (const qxMessage& message) {
            EXPECT_EQ(message.id(), ifdsweep::kOpenFailureId);
            EXPECT_EQ(ifdsweep::hostMessageText(message),
                      std::string("cannot be opened: ") + std::strerror(error));
            const auto* text = boost::get<qxMessageText>(&message.arguments().at(0));
            ASSERT_NE(text, nullptr);
            EXPECT_EQ(boost::get<std::u16string>(*text), name);
        }
    }
    EXPECT_TRUE(host.warnings().empty());
}

TEST_F(Files, OnlyReadingModes) {
    filesOf(host).serve(u"served", std::span<const std::uint8_t>());
    EXPECT_THROW(static_cast<void>(qxOpenFile(u"served", "w")), std::invalid_argument);
    EXPECT_NE(StreamHandle(qxOpenFile(u"served", "r")), nullptr);
}

TEST_F(Files, ServedFilesHaveTheirStatus) {
    const std::vector<std::uint8_t> bytes(7);
    filesOf(host).serve(u"served", bytes);
    const qxFileStatus status = qxGetFileStatus(u"served");
    EXPECT_EQ(status.type, qxFileType::regular);
    EXPECT_EQ(status.fileSize, 7U);
    EXPECT_EQ(status.timeStamps[1], 0);
    EXPECT_TRUE(qxFileExists(u"served"));
    filesOf(host).serveNothing();
    EXPECT_FALSE(qxFileExists(u"served"));
}

TEST_F(Files, AScopeLooksAtAFileOnce) {
    const std::string path = write("a", patternOf(10));
    const std::u16string name = ifdsweep::fileNameFromSystem(path);
    EXPECT_EQ(read(open(name), 20), 10U);
    std::filesystem::remove(path);
    EXPECT_EQ(read(open(name), 20), 10U);
    EXPECT_TRUE(qxFileExists(name));
    const Host::Scope next(host);
    EXPECT_EQ(open(name), nullptr);
}

TEST_F(Files, TwoFilesAtOnce) {
    const std::vector<std::uint8_t> first(1000, 1);
    const std::vector<std::uint8_t> second(1000, 2);
    filesOf(host).serve(u"first", first);
    filesOf(host).serve(u"second", second);
    const StreamHandle one = open(u"first");
    EXPECT_EQ(std::fgetc(one.get()), 1);
    const StreamHandle two = open(u"second");
    EXPECT_EQ(std::fgetc(two.get()), 2);
    EXPECT_EQ(std::fgetc(one.get()), 1);
    EXPECT_EQ(std::fgetc(two.get()), 2);
}

TEST_F(Files, AStreamOutlivesTheScope) {
    const std::vector<std::uint8_t> bytes(10, 1);
    StreamHandle stream;
    {
        const Host::Scope inner(host);
        filesOf(host).serve(u"served", bytes);
        stream = open(u"served");
    }
    EXPECT_EQ(read(stream, 20), 10U);
}

// ------------------------------------------------------------------------------- read budget

TEST_F(Files, BytesAndFreshAccessesAreCounted) {
    const std::vector<std::uint8_t> bytes = patternOf(1000);
    filesOf(host).serve(u"served", bytes);
    const StreamHandle stream = open(u"served");
    const auto counted = [this] { return host.countedBytes(); };
    // What was read ahead is taken back at the next seek.
    const auto seek = [&stream](off_t position) {
        EXPECT_EQ(::fseeko(stream.get(), position, SEEK_SET), 0);
    };
    EXPECT_EQ(read(stream, 4), 4U);
    EXPECT_EQ(::ftello(stream.get()), 4);
    EXPECT_EQ(read(stream, 6), 6U);
    seek(500);
    EXPECT_EQ(counted(), 10U) << "neither asking for the position nor a seek alone costs anything";
    EXPECT_EQ(read(stream, 100), 100U);
    seek(600);
    EXPECT_EQ(counted(), 174U);
    EXPECT_EQ(read(stream, 100), 100U);
    EXPECT_EQ(read(stream, 100), 100U);
    seek(990);
    EXPECT_EQ(counted(), 438U) << "one access, however many reads";
    EXPECT_EQ(read(stream, 100), 10U);
    seek(5000);
    EXPECT_EQ(counted(), 512U) << "only what was delivered counts";
    EXPECT_EQ(read(stream, 100), 0U);
    seek(5000);
    EXPECT_EQ(counted(), 576U);
    {
        const StreamHandle again = open(u"served");
        EXPECT_EQ(read(again, 8), 8U);
    }
    EXPECT_EQ(counted(), 584U) << "all streams of a call share the count";
}

// The C library goes through a place with the bit of its buffer cleared when it seeks; nothing of
// that is seen.
TEST_F(Files, SeeksReadAndCountTheSameEverywhere) {
    const std::vector<std::uint8_t> bytes = patternOf(400'000);
    filesOf(host).serve(u"served", bytes);
    const StreamHandle stream = open(u"served");
    std::vector<std::uint8_t> target(70'000);
    std::uint64_t expected = 0;
    for (const std::size_t position : {0U, 1U, 511U, 65'535U, 65'536U, 65'537U, 66'000U, 131'071U,
                                       131'072U, 200'000U, 262'143U}) {
        for (const std::size_t size :
             {1U, 8U, 300U, 512U, 513U, 5'000U, 65'536U, 65'537U, 70'000U}) {
            ASSERT_EQ(::fseeko(stream.get(), static_cast<off_t>(position), SEEK_SET), 0);
            EXPECT_EQ(host.countedBytes(), expected) << position << ' ' << size;
            ASSERT_EQ(std::fread(target.data(), 1, size, stream.get()), size);
            EXPECT_EQ(::ftello(stream.get()), static_cast<off_t>(position + size));
            EXPECT_TRUE(std::equal(target.begin(),
                                   target.begin() + static_cast<std::ptrdiff_t>(size),
                                   bytes.begin() + static_cast<std::ptrdiff_t>(position)))
                << position << ' ' << size;
            expected += size + 64;
        }
    }
}

TEST_F(Files, TheBudgetEndsFreshAccessesOnly) {
    const std::vector<std::uint8_t> bytes = patternOf(1000);
    filesOf(host).serve(u"served", bytes);
    // One access of 36 bytes counts 100.
    for (const std::uint64_t budget : {199U, 200U, 201U}) {
        const Host::Scope call(host);
        host.setReadBudget(budget);
        const StreamHandle stream = open(u"served");
        for (int access = 0; access < 2; ++access) {
            EXPECT_EQ(::fseeko(stream.get(), 10, SEEK_SET), 0);
            EXPECT_EQ(read(stream, 36), 36U);
        }
        EXPECT_EQ(::fseeko(stream.get(), 20, SEEK_SET), 0);
        const bool refused = budget <= 200;
        EXPECT_EQ(read(stream, 2), refused ? 0U : 2U) << budget;
        EXPECT_EQ(read(stream, 500), refused ? 0U : 500U) << "what follows a count is delivered";
        EXPECT_EQ(host.takeWarnings().size(), refused ? 1U : 0U);
    }
}

TEST_F(Files, ASpentBudgetIsOneWarningInItsPlace) {
    const std::vector<std::uint8_t> bytes = patternOf(1000);
    filesOf(host).serve(u"served", bytes);
    host.setReadBudget(10);
    const StreamHandle stream = open(u"served");
    EXPECT_EQ(read(stream, 20), 20U) << "no seek, no check";
    qxWarningMsgId(Message<MessageId::unrecognizedIfd>(1));
    for (int access = 0; access < 3; ++access) {
        EXPECT_EQ(::fseeko(stream.get(), 0, SEEK_SET), 0);
        EXPECT_EQ(read(stream, 20), 0U);
        EXPECT_EQ(std::ferror(stream.get()), 0) << "a short read, no failure";
        qxWarningMsgId(Message<MessageId::nextIfdOffsetReadError>(2));
    }
    const std::vector<qxMessage> warnings = host.takeWarnings();
    const std::string readError = messageRow(MessageId::nextIfdOffsetReadError).id;
    EXPECT_EQ(idsOf(warnings), (std::vector<std::string>{messageRow(MessageId::unrecognizedIfd).id,
                                                         ifdsweep::kReadBudgetSpentId, readError,
                                                         readError, readError}));
    EXPECT_EQ(boost::get<std::int64_t>(warnings[1].arguments().at(0)), 10);
    EXPECT_EQ(boost::get<std::int64_t>(warnings[1].arguments().at(1)), 1000);
}

TEST_F(Files, TheWarningSurvivesTheScopeAndComesAgainInTheNext) {
    const std::vector<std::uint8_t> bytes = patternOf(100);
    filesOf(host).serve(u"served", bytes);
    host.setReadBudget(0);
    for (int call = 0; call < 2; ++call) {
        {
            const Host::Scope inner(host);
            const StreamHandle stream = open(u"served");
            EXPECT_EQ(::fseeko(stream.get(), 1, SEEK_SET), 0);
            EXPECT_EQ(read(stream, 20), 0U);
        }
        EXPECT_EQ(idsOf(host.takeWarnings()),
                  std::vector<std::string>{ifdsweep::kReadBudgetSpentId});
    }
}

TEST_F(Files, TheDefaultBudgetFollowsTheSize) {
    const std::vector<std::uint8_t> bytes = patternOf(1024 * 1024);
    filesOf(host).serve(u"served", bytes);
    constexpr std::uint64_t kAccess = 1024 * 1024 + 64;
    constexpr std::uint64_t kBudget = (256 + 8 * 1024) * 1024;
    const StreamHandle stream = open(u"served");
    std::uint64_t accesses = 0;
    for (; accesses < 100; ++accesses) {
        ASSERT_EQ(::fseeko(stream.get(), 0, SEEK_SET), 0);
        if (read(stream, 1024 * 1024) == 0) {
            break;
        }
    }
    EXPECT_EQ(accesses, (kBudget + kAccess - 1) / kAccess);
    const std::vector<qxMessage> warnings = host.takeWarnings();
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_EQ(boost::get<std::int64_t>(warnings[0].arguments().at(0)), std::int64_t{kBudget});
}

TEST_F(Files, AnUnlimitedBudgetIsNeverSpent) {
    const std::vector<std::uint8_t> bytes = patternOf(1024 * 1024);
    filesOf(host).serve(u"served", bytes);
    host.setReadBudget(ifdsweep::kUnlimited);
    const StreamHandle stream = open(u"served");
    for (int access = 0; access < 40; ++access) {
        ASSERT_EQ(::fseeko(stream.get(), 0, SEEK_SET), 0);
        ASSERT_EQ(read(stream, 1024 * 1024), 1024U * 1024U);
    }
    EXPECT_TRUE(host.warnings().empty());
}

// ----------------------------------------------------------------------------- failing sources

/// Bytes that the system can no longer deliver from a position on.
class FailingBytes final : public ifdsweep::ByteSource {
public:
    FailingBytes(std::span<const std::uint8_t> servedBytes, std::uint64_t firstLost)
        : bytes(servedBytes), lostFrom(firstLost) {}

    [[nodiscard]] std::uint64_t size() const noexcept override { return bytes.size(); }
    [[nodiscard]] std::ptrdiff_t read(std::uint64_t position,
                                      std::span<std::byte> target) const noexcept override {
        if (position >= lostFrom) {
            errno = position < secondFrom ? EIO : ESTALE;
            return -1;
        }
        return bytes.read(
            position, target.first(std::min<std::uint64_t>(target.size(), lostFrom - position)));
    }

    std::uint64_t secondFrom = std::numeric_limits<std::uint64_t>::max();

private:
    ifdsweep::MemoryBytes bytes;
    std::uint64_t lostFrom;
};

class FailingFiles : public Files {
protected:
    [[nodiscard]] std::vector<std::string> textsOf() {
        std::vector<std::string> texts;
        for (const qxMessage& message : host.takeWarnings()) {
            EXPECT_EQ(message.id(), ifdsweep::kReadFailedId);
            texts.push_back(ifdsweep::hostMessageText(message));
        }
        return texts;
    }

    const std::vector<std::uint8_t> bytes = patternOf(100'000);
    const std::shared_ptr<FailingBytes> source =
        std::make_shared<FailingBytes>(std::span(bytes), 50'000);
};

TEST_F(FailingFiles, AFailedReadIsToldOnceForEachReason) {
    source->secondFrom = 90'000;
    filesOf(host).serve(u"served", {source, {}});
    const StreamHandle stream = open(u"served");
    for (const off_t position : {60'000, 70'000, 95'000, 96'000, 61'000}) {
        ASSERT_EQ(::fseeko(stream.get(), position, SEEK_SET), 0);
        EXPECT_EQ(read(stream, 10), 0U);
    }
    EXPECT_EQ(textsOf(), (std::vector<std::string>{
                             "the file cannot be read at position 60000: Input/output error",
                             "the file cannot be read at position 95000: Stale file handle"}));
    EXPECT_EQ(textsOf(), std::vector<std::string>{});
}

TEST_F(FailingFiles, WhatComesBeforeTheFailureIsDelivered) {
    filesOf(host).serve(u"served", {source, {}});
    const StreamHandle stream = open(u"served");
    ASSERT_EQ(::fseeko(stream.get(), 49'000, SEEK_SET), 0);
    EXPECT_EQ(read(stream, 5000), 1000U);
    EXPECT_EQ(textsOf(), (std::vector<std::string>{
                             "the file cannot be read at position 50000: Input/output error"}));
}

TEST_F(FailingFiles, TheFailureOfAnEndedCallIsStillTold) {
    {
        const Host::Scope call(host);
        filesOf(host).serve(u"served", {source, {}});
        const StreamHandle stream = open(u"served");
        ASSERT_EQ(::fseeko(stream.get(), 60'000, SEEK_SET), 0);
        EXPECT_EQ(read(stream, 10), 0U);
    }
    EXPECT_EQ(textsOf().size(), 1U);
    const Host::Scope next(host);
    const StreamHandle again = open(u"served");
    ASSERT_EQ(::fseeko(again.get(), 60'000, SEEK_SET), 0);
    EXPECT_EQ(read(again, 10), 0U);
    EXPECT_EQ(textsOf().size(), 1U) << "a new call tells of it anew";
}

TEST_F(FailingFiles, AnEndIsNoFailure) {
    filesOf(host).serve(u"served", bytes);
    const StreamHandle stream = open(u"served");
    for (const off_t position : {99'999, 100'000, 200'000}) {
        ASSERT_EQ(::fseeko(stream.get(), position, SEEK_SET), 0);
        EXPECT_LE(read(stream, 10), 1U);
    }
    EXPECT_EQ(textsOf(), std::vector<std::string>{});
}

// -------------------------------------------------------------------------------- fault plans

TEST_F(Files, PlannedReadsFail) {
    const std::vector<std::uint8_t> bytes = patternOf(100);
    filesOf(host).serve(u"served", bytes);
    fixture::setFaultPlan(host, {{.number = 2}});
    const StreamHandle stream = open(u"served");
    EXPECT_EQ(read(stream, 10), 10U);
    EXPECT_EQ(read(stream, 10), 10U);
    EXPECT_EQ(::fseeko(stream.get(), 30, SEEK_SET), 0);
    EXPECT_EQ(read(stream, 10), 0U);
    EXPECT_NE(std::ferror(stream.get()), 0);
    EXPECT_EQ(::ftello(stream.get()), 30);
    EXPECT_EQ(read(stream, 10), 0U) << "the whole access fails";
    EXPECT_EQ(::fseeko(stream.get(), 30, SEEK_SET), 0);
    EXPECT_EQ(read(stream, 10), 10U);
    fixture::setFaultPlan(host, {});
    const Host::Scope next(host);
    const StreamHandle sound = open(u"served");
    EXPECT_EQ(read(sound, 10), 10U);
    EXPECT_EQ(::fseeko(sound.get(), 30, SEEK_SET), 0);
    EXPECT_EQ(read(sound, 10), 10U);
}

TEST_F(Files, PlannedReadsComeShort) {
    const std::vector<std::uint8_t> bytes = patternOf(100);
    filesOf(host).serve(u"served", bytes);
    fixture::setFaultPlan(host, {{.number = 2, .effect = Fault::Effect::deliverShort, .bytes = 3}});
    const StreamHandle stream = open(u"served");
    EXPECT_EQ(read(stream, 10), 10U);
    EXPECT_EQ(::fseeko(stream.get(), 10, SEEK_SET), 0);
    EXPECT_EQ(read(stream, 2), 2U);
    EXPECT_EQ(read(stream, 10), 1U) << "over all reads of the access";
    EXPECT_EQ(read(stream, 10), 0U);
    EXPECT_EQ(::fseeko(stream.get(), 10, SEEK_SET), 0);
    EXPECT_EQ(read(stream, 10), 10U);
    EXPECT_EQ(::ftello(stream.get()), 20);
}

TEST_F(Files, PlannedSeeksFail) {
    const std::vector<std::uint8_t> bytes = patternOf(100);
    filesOf(host).serve(u"served", bytes);
    fixture::setFaultPlan(host, {{.operation = Fault::Operation::seek, .number = 2}});
    const StreamHandle stream = open(u"served");
    EXPECT_EQ(::fseeko(stream.get(), 10, SEEK_SET), 0);
    EXPECT_EQ(::ftello(stream.get()), 10);
    EXPECT_NE(::fseeko(stream.get(), 50, SEEK_SET), 0);
    EXPECT_EQ(::ftello(stream.get()), 10);
    EXPECT_EQ(::fseeko(stream.get(), 50, SEEK_SET), 0);
}

TEST_F(Files, TheFileShrinksAtItsMoment) {
    const std::vector<std::uint8_t> bytes = patternOf(100);
    filesOf(host).serve(u"served", bytes);
    fixture::setFaultPlan(host, {{.operation = Fault::Operation::seek,
                                  .number = 2,
                                  .effect = Fault::Effect::shrinkFile,
                                  .bytes = 55}});
    const StreamHandle stream = open(u"served");
    for (const std::size_t expected : {20U, 5U, 5U}) {
        EXPECT_EQ(::fseeko(stream.get(), 50, SEEK_SET), 0);
        EXPECT_EQ(read(stream, 20), expected);
    }
    EXPECT_EQ(qxGetFileStatus(u"served").fileSize, 100U);
}

TEST_F(Files, FaultsAreCountedOverAllStreamsOfACall) {
    const std::vector<std::uint8_t> bytes = patternOf(100);
    filesOf(host).serve(u"served", bytes);
    fixture::setFaultPlan(host, {{.number = 3}});
    EXPECT_EQ(read(open(u"served"), 2), 2U);
    EXPECT_EQ(read(open(u"served"), 4), 4U);
    EXPECT_EQ(read(open(u"served"), 2), 0U);
    EXPECT_EQ(read(open(u"served"), 2), 2U);
}

TEST_F(Files, AFileCutWhileItIsReadGivesShortReads) {
    const std::string path = write("a", patternOf(1'000'000));
    const StreamHandle stream = open(ifdsweep::fileNameFromSystem(path));
    EXPECT_EQ(read(stream, 10), 10U);
    ASSERT_EQ(::truncate(path.c_str(), 500'000), 0);
    EXPECT_EQ(::fseeko(stream.get(), 400'000, SEEK_SET), 0);
    EXPECT_EQ(read(stream, 200'000), 100'000U);
    EXPECT_EQ(read(stream, 10), 0U);
}

}  // namespace
