// File sequences: files that are read one after the other by whoever asks for them.

#include "scan/file_sequence.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include "scan/packing_reader.h"
#include "support/tags.h"
#include "support/temporary_folder.h"
#include "support/tiff_builder.h"
#include "support/whole_file.h"

namespace {

using ifdsweep::FileSequence;
using ifdsweep::InputFile;
using ifdsweep::PackedFile;
using ifdsweep::ScanOptions;
using Names = std::vector<std::string>;

std::string pathOf(const PackedFile& file) {
    return std::string(file.textOf(file.file().path));
}

Names drain(FileSequence& sequence) {
    Names paths;
    while (const std::optional<PackedFile> file = sequence.next()) {
        paths.push_back(pathOf(*file));
    }
    EXPECT_FALSE(sequence.next().has_value());
    return paths;
}

class FileSequenceOf : public testing::Test {
protected:
    /// Writes a small TIFF file, and gives its path.
    std::string image(const std::string& name) {
        fixture::TiffBuilder builder(fixture::Format{});
        builder.add({fixture::shorts(fixture::kSamplesPerPixel, {3})});
        return write(name, builder.build().bytes);
    }

    template <class Bytes>
    std::string write(const std::string& name, const Bytes& bytes) {
        const std::filesystem::path path = folder / name;
        std::filesystem::create_directories(path.parent_path());
        fixture::writeFile(path, bytes);
        return path.string();
    }

    static ScanOptions optionsOf(Names paths) {
        ScanOptions options;
        options.input.paths = std::move(paths);
        return options;
    }

    fixture::TemporaryFolder folder;
};

TEST_F(FileSequenceOf, EachFileIsWhatOneReaderReadsOfIt) {
    const Names paths{image("b.tif"), write("text.tif", std::string_view("no image")),
                      image("a.tif"), (folder / "nothing.tif").string()};
    FileSequence sequence(optionsOf(paths));
    ifdsweep::PackingReader reader({}, {});
    for (const std::string& path : paths) {
        const std::optional<PackedFile> file = sequence.next();
        ASSERT_TRUE(file.has_value());
        EXPECT_TRUE(std::ranges::equal(file->bytes(), reader.read(path).bytes())) << path;
    }
    EXPECT_FALSE(sequence.next().has_value());
}

TEST_F(FileSequenceOf, FoldersAreWalkedAndHoldTheirImages) {
    const Names images{image("tree/a.tif"), image("tree/b/c.tif")};
    write("tree/notes.txt", std::string_view("no image"));
    FileSequence sequence(optionsOf({(folder / "tree").string()}));
    EXPECT_EQ(drain(sequence), images);
}

TEST_F(FileSequenceOf, WhatWasFoundBeforeAndIsNoImageIsPassedOver) {
    const std::string tiff = image("a.tif");
    const std::string text = write("b.tif", std::string_view("no image"));
    const std::string pipe = (folder / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::filesystem::create_directory(folder / "folder");
    const std::string inner = (folder / "folder").string();
    const std::string gone = (folder / "gone.tif").string();
    ScanOptions options = optionsOf({tiff, text, pipe, inner, gone});
    options.input.foundBefore = true;
    FileSequence sequence(options);
    EXPECT_EQ(pathOf(*sequence.next()), tiff);
    for (const std::string& path : {pipe, inner, gone}) {
        const std::optional<PackedFile> file = sequence.next();
        ASSERT_TRUE(file.has_value()) << path;
        EXPECT_EQ(pathOf(*file), path);
        EXPECT_FALSE(file->messages().empty()) << path;
    }
    EXPECT_FALSE(sequence.next().has_value());
}

TEST_F(FileSequenceOf, ItEndsWhenItIsStopped) {
    FileSequence sequence(optionsOf({image("a.tif"), image("b.tif")}));
    EXPECT_TRUE(sequence.next().has_value());
    sequence.stop();
    EXPECT_FALSE(sequence.next().has_value());
}

TEST_F(FileSequenceOf, AReadingThatIsStoppedIsTheEnd) {
    FileSequence* reading = nullptr;
    ScanOptions options = optionsOf({"one", "other"});
    options.makeReader = [&reading] {
        return [&reading](const InputFile&) -> PackedFile {
            reading->stop();
            throw ifdsweep::ReadingStopped();
        };
    };
    FileSequence sequence(options);
    reading = &sequence;
    EXPECT_EQ(drain(sequence), Names());
}

TEST_F(FileSequenceOf, WhatAReaderThrowsComesThrough) {
    ScanOptions options = optionsOf({"one"});
    options.makeReader = [] {
        return [](const InputFile&) -> PackedFile { throw std::bad_alloc(); };
    };
    FileSequence sequence(options);
    EXPECT_THROW(static_cast<void>(sequence.next()), std::bad_alloc);
}

}  // namespace
