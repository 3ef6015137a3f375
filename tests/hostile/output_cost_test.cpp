// What small hostile files come to in every format: counted bytes and bytes of output, which are
// the same on every machine.

#include <array>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "files/file_names.h"
#include "host/host_parts.h"
#include "ifdsweep/host.h"
#include "ifdsweep/read.h"
#include "support/tags.h"
#include "support/tiff_builder.h"
#include "write/result_writer.h"

namespace fixture {
namespace {

constexpr std::size_t kSmall = 65535;
constexpr std::size_t kMostOutput = 64'000'000;

/// Counts what would be written.
class CountingSink final : public ifdsweep::ByteSink {
public:
    void write(std::string_view bytes) override { count += bytes.size(); }

    std::size_t count = 0;
};

struct Form {
    ifdsweep::WriteOptions options;
    const char* name;
};

std::vector<Form> forms() {
    ifdsweep::WriteOptions everything;
    everything.format = ifdsweep::Format::text;
    everything.shownElements = kMostOutput;
    everything.shownCharacters = kMostOutput;
    everything.allDirectories = true;
    ifdsweep::WriteOptions onTerminal = everything;
    onTerminal.lineWidth = 40;
    ifdsweep::WriteOptions pretty;
    pretty.layout = ifdsweep::JsonLayout::pretty;
    return {{everything, "text"},
            {onTerminal, "text, for a terminal"},
            {pretty, "json, pretty"},
            {{.format = ifdsweep::Format::ndjson}, "ndjson"},
            {{.format = ifdsweep::Format::typed}, "typed"}};
}

/// Reads a file and writes it in every form; each must stay below the bound.
void expectModest(const Bytes& bytes, const std::string& name = "small.tif") {
    ifdsweep::Host host;
    filesOf(host).serve(ifdsweep::fileNameFromSystem(name), bytes);
    const ifdsweep::Outcome outcome = ifdsweep::read(host, name, {});
    EXPECT_FALSE(outcome.error.has_value()) << outcome.error->id();
    EXPECT_FALSE(outcome.warnings.empty()) << "a budget ends the file";
    for (const Form& form : forms()) {
        CountingSink sink;
        ifdsweep::Output output(sink);
        ifdsweep::makeResultWriter(form.options, output)->writeFile(outcome);
        output.flush();
        EXPECT_LE(sink.count, kMostOutput) << form.name;
    }
    // Facts are written while the file is read.
    CountingSink sink;
    ifdsweep::Output output(sink);
    const auto writer = ifdsweep::makeResultWriter({.format = ifdsweep::Format::facts}, output);
    writer->writeFile(ifdsweep::read(host, name, {.sink = writer->listenerFor(name)}));
    output.flush();
    EXPECT_GT(sink.count, 0U);
    EXPECT_LE(sink.count, kMostOutput) << "facts";
}

const Format kClassic{Layout::classic, ByteOrder::little};

/// Directories one inside the other, and in the innermost one whose next is itself.
TiffFile loopAtDepth(std::size_t depth, std::vector<Entry> entries) {
    TiffBuilder builder(kClassic);
    for (std::size_t level = 0; level < depth; ++level) {
        builder.add(Directory{longs(kSubIfds, {0})}.withNext(0));
    }
    builder.add(Directory(std::move(entries)));
    TiffFile file = builder.build();
    for (std::size_t level = 0; level < depth; ++level) {
        setWord(file.bytes, file.places[level].data[0], 4, file.places[level + 1].position,
                kClassic.byteOrder);
    }
    file.setOffset(file.places.back().next, file.places.back().position);
    return file;
}

TEST(SmallFile, ThatLoopsUnderALongName) {
    const TiffFile file = loopAtDepth(0, {shorts(kUnknownTag, {7})});
    Bytes bytes = file.bytes;
    bytes.resize(kSmall);
    expectModest(bytes, std::string(3765, 'x'));
    expectModest(bytes, std::string(3765, '\x01'));
    expectModest(bytes, std::string(3765, '\xFF'));
    expectModest(bytes, std::string(3765, '"'));
    bytes.resize(26);
    expectModest(bytes, std::string(3765, '\x01'));
}

TEST(SmallFile, WhoseDirectoriesShareAValue) {
    struct Case {
        std::uint16_t tag;
        std::uint16_t type;
        std::int64_t item;
    };
    for (const std::size_t depth : {0U, 63U}) {
        // BitsPerSample, of which three fields are made; SampleFormat; numbers; texts; bytes;
        // rationals that warn one by one.
        for (const auto& [tag, type, item] :
             {Case{258, kByte, 255}, Case{339, kByte, 2}, Case{kUnknownTag, kByte, 255},
              Case{271, kAscii, 1}, Case{271, kAscii, 0xFF}, Case{37724, kUndefined, 255},
              Case{33434, kSRational, 0}}) {
            const std::size_t items = (kSmall - 2000) / (type == kSRational ? 4 : 1);
            const TiffFile file =
                loopAtDepth(depth, {numbers(tag, type, std::vector<std::int64_t>(items, item))});
            ASSERT_LE(file.bytes.size(), kSmall);
            SCOPED_TRACE(std::to_string(tag) + " at depth " + std::to_string(depth));
            expectModest(file.bytes);
        }
    }
}

TEST(SmallFile, OfEntriesThatWarn) {
    for (const std::size_t depth : {0U, 63U}) {
        for (const Entry& entry :
             {longs(33434, {}).withType(kIfd), shorts(258, {1}).withType(99),
              numbers(kUnknownTag, kByte, {255, 255, 255, 255}),
              longs(34664, {1, 2}).withCount(0x7FFFFFFF).withValueField(0x7FFFFFFF)}) {
            const TiffFile file = loopAtDepth(depth, std::vector<Entry>(5000, entry));
            SCOPED_TRACE(std::to_string(entry.tag) + " at depth " + std::to_string(depth));
            expectModest(file.bytes);
        }
    }
}

TEST(SmallFile, WithEveryNameInOneDirectoryAndALoopBehindIt) {
    std::vector<Entry> entries;
    for (std::uint16_t id = 250; id < 52000; ++id) {
        const bool endsCallOrNests = id == 256 || id == 257 || id == 277 || id == 278 ||
                                     id == 284 || id == 322 || id == 323 || id == kSubIfds ||
                                     id == 34665 || id == 34853 || id == 40965;
        // Most names, in the room that a small file has.
        if (!endsCallOrNests &&
            (id < 520 || (id > 33400 && id < 37600) || (id > 50700 && id < 51100))) {
            entries.push_back(ascii(id, "x"));
        }
    }
    ASSERT_LT(entries.size() * 12, kSmall);
    TiffBuilder builder(kClassic);
    builder.add(Directory(entries)).add({shorts(258, {1})});
    TiffFile file = builder.build();
    file.setOffset(file.places[1].next, file.places[1].position);
    file.bytes.resize(kSmall);
    expectModest(file.bytes);
}

/// The bytes of text that a file comes to, folded.
std::size_t foldedText(const Bytes& bytes, const ifdsweep::ReadOptions& options) {
    ifdsweep::Host host;
    filesOf(host).serve(ifdsweep::fileNameFromSystem("a.tif"), bytes);
    const ifdsweep::Outcome outcome = ifdsweep::read(host, "a.tif", options);
    CountingSink sink;
    ifdsweep::Output output(sink);
    ifdsweep::makeResultWriter({.format = ifdsweep::Format::text}, output)->writeFile(outcome);
    output.flush();
    return sink.count;
}

TEST(SmallFile, ThatLoopsIsAScreenfulOfText) {
    constexpr std::size_t kScreenful = 4000;
    ifdsweep::ReadOptions patient;
    patient.readBudget = 50'000'000;
    patient.valueBudget = 500'000'000;
    for (const std::size_t directories : {1U, 2U, 3U}) {
        TiffBuilder builder(kClassic);
        for (std::size_t page = 0; page < directories; ++page) {
            builder.add({shorts(256, {64}), shorts(257, {48}), longs(273, {8}), longs(279, {3}),
                         shorts(278, {static_cast<std::int64_t>(page)}), shorts(kUnknownTag, {7}),
                         numbers(282, kRational, {72, 1}), numbers(33434, kRational, {1, 0})});
        }
        TiffFile file = builder.build();
        file.setOffset(file.places.back().next, file.places[0].position);
        ASSERT_LE(file.bytes.size(), 558U);
        EXPECT_LE(foldedText(file.bytes, {}), directories * kScreenful) << directories;
        EXPECT_LE(foldedText(file.bytes, patient), directories * kScreenful) << directories;
    }
    // In the innermost of nested directories too.
    EXPECT_LE(foldedText(loopAtDepth(10, {shorts(kUnknownTag, {7})}).bytes, patient),
              12 * kScreenful);
}

TEST(GoodFile, OfManyDirectoriesUnderALongName) {
    TiffBuilder builder(kClassic);
    for (std::int64_t page = 0; page < 20000; ++page) {
        builder.add({shorts(256, {page % 1000}), shorts(257, {9}), shorts(258, {8, 8, 8}),
                     shorts(259, {1}), shorts(262, {2}), longs(273, {8}), shorts(277, {3}),
                     shorts(278, {9}), longs(279, {27}), ascii(305, "A writer of stacks"),
                     numbers(282, kRational, {72, 1}), numbers(283, kRational, {72, 1}),
                     shorts(296, {2})});
    }
    const Bytes bytes = builder.build().bytes;
    ifdsweep::Host host;
    const std::string name = std::string(500, 'x');
    filesOf(host).serve(ifdsweep::fileNameFromSystem(name), bytes);
    const ifdsweep::Outcome outcome = ifdsweep::read(host, name, {});
    ASSERT_NE(outcome.result, nullptr);
    EXPECT_EQ(outcome.result->rows(), 20000U);
    EXPECT_TRUE(outcome.warnings.empty());
}

}  // namespace
}  // namespace fixture
