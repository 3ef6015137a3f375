#include "scan/packing_reader.h"

#include <algorithm>
#include <atomic>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "read/field_selection.h"
#include "read/messages.h"
#include "read/tag_choice.h"
#include "support/jxl_file.h"
#include "support/packed_walk.h"
#include "support/tags.h"
#include "support/temporary_file.h"
#include "support/tiff_builder.h"

namespace {

using fixture::ascii;
using fixture::shorts;
using ifdsweep::ChosenField;
using ifdsweep::Host;
using ifdsweep::kNoRow;
using ifdsweep::Outcome;
using ifdsweep::PackedFile;
using ifdsweep::PackingReader;
using ifdsweep::ReadingMode;
using ifdsweep::ReadOptions;
using ifdsweep::StreamChoice;

/// A page that another follows, which has a directory inside and an unknown tag.
fixture::Bytes twoPages() {
    constexpr std::uint16_t kSubIfds = 330;
    constexpr std::uint16_t kUnknown = 50000;
    fixture::TiffBuilder builder(fixture::Format{});
    builder.add(fixture::Directory{ascii(fixture::kMake, std::string_view("one\0", 4)),
                                   shorts(fixture::kSamplesPerPixel, {3})});
    const fixture::Directory nested{ascii(fixture::kMake, std::string_view("two\0", 4))};
    builder.add(
        fixture::Directory{fixture::pointer(kSubIfds, {{nested}}), shorts(kUnknown, {1, 2})});
    return builder.build().bytes;
}

std::vector<ChosenField> fieldsOf(std::string_view list) {
    return list.empty() ? std::vector<ChosenField>() : ifdsweep::chooseTags(list).fields;
}

void select(Outcome& stream, std::string_view list) {
    if (!list.empty() && stream.result != nullptr) {
        stream.result =
            ifdsweep::selectFields(std::move(stream.result), fieldsOf(list), stream.stream.kind);
    }
}

/// What the library reads of a file, with the fields chosen.
Outcome outcomeOf(Host& host, const std::string& path, const ReadOptions& options,
                  std::string_view list) {
    Outcome outcome = ifdsweep::read(host, path, options);
    const Host::Scope scope(host);
    select(outcome, list);
    for (Outcome& other : outcome.others) {
        select(other, list);
    }
    return outcome;
}

std::vector<std::uint16_t> tagsOf(const PackedFile& file) {
    std::vector<std::uint16_t> tags;
    for (const auto& entry : file.entries()) {
        if (entry.isDefault == 0) {
            tags.push_back(entry.tag);
        }
    }
    return tags;
}

std::string errorOf(const PackedFile& file) {
    const std::uint32_t error = file.streams()[0].error;
    return error == kNoRow ? "" : std::string(file.name(file.messages()[error].id));
}

bool equal(const PackedFile& one, const PackedFile& other) {
    return std::ranges::equal(one.bytes(), other.bytes());
}

TEST(PackingReaders, ReadWhatTheLibraryReads) {
    struct Row {
        std::string_view fields;
        ReadOptions options;
    };
    ReadOptions contract;
    contract.reading = ReadingMode::contract;
    ReadOptions second;
    second.first = 1;
    ReadOptions checked;
    checked.check = true;
    const Row rows[] = {
        {"", {}},           {"Make", {}}, {"50000,SubIFDs", {}}, {"", contract},
        {"Make", contract}, {"", second}, {"", checked},         {"SamplesPerPixel", second}};
    for (const fixture::Bytes& bytes :
         {twoPages(), fixture::Bytes{'n', 'o', 'n', 'e'}, fixture::Bytes{}}) {
        const fixture::TemporaryFile file("a.tif", bytes);
        for (const Row& row : rows) {
            PackingReader reader(row.options, fieldsOf(row.fields));
            Host host;
            const Outcome expected = outcomeOf(host, file.path(), row.options, row.fields);
            EXPECT_EQ(fixture::packedDifference(reader.read(file.path()), expected), std::nullopt)
                << row.fields;
        }
    }
}

TEST(PackingReaders, ReadTheTagsOfChosenFieldsAlone) {
    const fixture::TemporaryFile file("a.tif", twoPages());
    EXPECT_EQ(tagsOf(PackingReader({}, {}).read(file.path())),
              (std::vector<std::uint16_t>{fixture::kMake, fixture::kSamplesPerPixel, 330,
                                          fixture::kMake, 50000}));
    EXPECT_EQ(tagsOf(PackingReader({}, fieldsOf("SamplesPerPixel")).read(file.path())),
              (std::vector<std::uint16_t>{fixture::kSamplesPerPixel, 330}));
}

TEST(PackingReaders, ReadOneFileAfterAnotherAsIfItWereTheFirst) {
    const fixture::TemporaryFile good("a.tif", twoPages());
    const fixture::TemporaryFile bad("b.tif", fixture::Bytes{'I', 'I', 42});
    PackingReader reader({}, fieldsOf("Make"));
    const PackedFile first = reader.read(good.path());
    const PackedFile damaged = reader.read(bad.path());
    static_cast<void>(reader.fail("c.tif", ifdsweep::inputFailure("not there")));
    EXPECT_TRUE(equal(reader.read(good.path()), first));
    EXPECT_TRUE(equal(reader.read(bad.path()), damaged));
    EXPECT_TRUE(equal(PackingReader({}, fieldsOf("Make")).read(bad.path()), damaged));
}

TEST(PackingReaders, ReadWhatTheirHostServes) {
    const fixture::Bytes bytes = twoPages();
    PackingReader reader({}, {});
    reader.host().serve("no path", bytes);
    const PackedFile file = reader.read("no path");
    EXPECT_EQ(file.textOf(file.file().path), "no path");
    EXPECT_EQ(file.file().hasStamp, 0U);
    EXPECT_EQ(file.directories().size(), 3U);
}

TEST(PackingReaders, LeaveFilesAloneThatAreNoImagesOnDemand) {
    const fixture::TemporaryFile text("a.txt", fixture::Bytes{'t', 'e', 'x', 't'});
    const fixture::TemporaryFile image("a.tif", twoPages());
    PackingReader reader({}, {});
    EXPECT_EQ(reader.read(text.path(), true).file().isImage, 0U);
    EXPECT_EQ(reader.read(text.path()).file().isImage, 1U);
    EXPECT_EQ(reader.read(image.path(), true).file().isImage, 1U);
}

TEST(PackingReaders, TellThatAPathCannotBeTried) {
    ReadOptions options;
    options.first = 2;
    options.max = 3;
    PackingReader reader(options, {});
    const PackedFile file = reader.fail("folder", ifdsweep::inputFailure("no right to read it"));
    EXPECT_EQ(file.textOf(file.file().path), "folder");
    EXPECT_EQ(errorOf(file), ifdsweep::kInputFailureId);
    EXPECT_EQ(file.streams()[0].firstIfdIndex, 2);
    EXPECT_EQ(file.streams()[0].maxIfdCount, 3);
    EXPECT_EQ(file.directories().size(), 0U);
}

TEST(PackingReaders, StopAtTheNextDirectoryOrEntry) {
    const fixture::TemporaryFile file("a.tif", twoPages());
    std::atomic<bool> isStopped = false;
    PackingReader reader({}, {}, &isStopped);
    const PackedFile whole = reader.read(file.path());
    EXPECT_TRUE(equal(whole, PackingReader({}, {}).read(file.path())));
    isStopped = true;
    EXPECT_THROW(static_cast<void>(reader.read(file.path())), ifdsweep::ReadingStopped);
    isStopped = false;
    EXPECT_TRUE(equal(reader.read(file.path()), whole));
}

TEST(PackingReaders, ReadEveryStreamOnDemand) {
    ReadOptions options;
    options.streams = StreamChoice::all;
    const fixture::TemporaryFile file(
        "a.jxl", fixture::jxlFile({fixture::exifBox(twoPages()), fixture::exifBox(twoPages())}));
    const std::string& path = file.path();
    for (const std::string_view fields : {"", "Make"}) {
        PackingReader reader(options, fieldsOf(fields));
        Host host;
        const Outcome expected = outcomeOf(host, path, options, fields);
        EXPECT_EQ(expected.others.size(), 1U);
        EXPECT_EQ(fixture::packedDifference(reader.read(path), expected), std::nullopt) << fields;
    }
}

}  // namespace
