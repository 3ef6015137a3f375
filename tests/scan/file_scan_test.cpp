#include "scan/file_scan.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include "io/run_failure.h"
#include "read/messages.h"
#include "scan/packing_reader.h"
#include "support/tags.h"
#include "support/temporary_folder.h"
#include "support/tiff_builder.h"
#include "support/whole_file.h"

namespace {

using ifdsweep::FileScan;
using ifdsweep::InputFile;
using ifdsweep::PackedFile;
using ifdsweep::PackingReader;
using ifdsweep::ScanOptions;
using Wait = ifdsweep::FileScan::Wait;
using Names = std::vector<std::string>;

constexpr std::uint32_t kLong = 60'000;  // milliseconds; nothing that works takes as long

std::string pathOf(const PackedFile& file) {
    return std::string(file.textOf(file.file().path));
}

/// What `next` gives, with the path of the file.
std::pair<Wait, std::string> nextOf(FileScan& scan, std::uint32_t milliseconds = kLong) {
    std::optional<PackedFile> file;
    const Wait wait = scan.next(file, milliseconds);
    return {wait, file ? pathOf(*file) : std::string()};
}

const std::pair<Wait, std::string> kEnd{Wait::end, ""};
const std::pair<Wait, std::string> kTimeout{Wait::timeout, ""};

std::pair<Wait, std::string> fileOf(const std::string& path) {
    return {Wait::file, path};
}

/// The paths of all that is left of a scan.
Names drain(FileScan& scan) {
    Names paths;
    for (auto [wait, path] = nextOf(scan); wait == Wait::file;
         std::tie(wait, path) = nextOf(scan)) {
        paths.push_back(path);
    }
    EXPECT_EQ(nextOf(scan), kEnd);
    return paths;
}

/// A door that readers stand before until it is opened.
class Door {
public:
    void pass() {
        std::unique_lock guard(lock);
        opening.wait(guard, [this] { return isOpen; });
    }
    void open() {
        {
            const std::lock_guard guard(lock);
            isOpen = true;
        }
        opening.notify_all();
    }

private:
    std::mutex lock;
    std::condition_variable opening;
    bool isOpen = false;
};

/// Names that no file has: a reader of the test's gives what came of them.
Names numbered(std::size_t count) {
    Names names;
    for (std::size_t i = 0; i < count; ++i) {
        names.push_back("no file " + std::to_string(i));
    }
    return names;
}

/// A scan of these names, of which each becomes a failure; `before` is called with the name first.
ScanOptions withReader(Names names, std::function<void(const std::string&)> before) {
    ScanOptions options;
    options.input.paths = std::move(names);
    options.makeReader = [before = std::move(before)] {
        const auto reader = std::make_shared<PackingReader>(ifdsweep::ReadOptions{},
                                                            std::vector<ifdsweep::ChosenField>{});
        return [reader, before](const InputFile& input) {
            before(input.path);
            return reader->fail(input.path, ifdsweep::inputFailure("not there"));
        };
    };
    return options;
}

/// Waits until a number is reached; false when that takes too long.
bool reaches(const std::atomic<std::size_t>& number, std::size_t awaited) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kLong);
    while (number < awaited && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return number >= awaited;
}

void rest() {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

class FileScanOf : public testing::Test {
protected:
    /// Writes a small TIFF file and gives its path.
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

    Names images(std::size_t count) {
        Names paths;
        for (std::size_t i = 0; i < count; ++i) {
            paths.push_back(image("image " + std::to_string(1000 + i) + ".tif"));
        }
        return paths;
    }

    ScanOptions optionsOf(Names paths, unsigned threads = 2) {
        ScanOptions options;
        options.input.paths = std::move(paths);
        options.threads = threads;
        return options;
    }

    fixture::TemporaryFolder folder;
};

TEST_F(FileScanOf, OrderedFilesComeInTheOrderOfTheirNames) {
    const Names paths = images(200);
    for (const unsigned threads : {1U, 2U, 8U}) {
        FileScan scan(optionsOf(paths, threads));
        EXPECT_EQ(drain(scan), paths) << threads;
    }
}

TEST_F(FileScanOf, UnorderedFilesAreTheSame) {
    const Names paths = images(200);
    for (const unsigned threads : {1U, 2U, 8U}) {
        ScanOptions options = optionsOf(paths, threads);
        options.isOrdered = false;
        FileScan scan(options);
        Names found = drain(scan);
        std::sort(found.begin(), found.end());
        EXPECT_EQ(found, paths) << threads;
    }
}

TEST_F(FileScanOf, EachFileIsWhatOneReaderReadsOfIt) {
    Names paths = images(20);
    paths.push_back(write("text.tif", std::string_view("no image")));
    FileScan scan(optionsOf(paths, 8));
    PackingReader reader({}, {});
    for (const std::string& path : paths) {
        std::optional<PackedFile> file;
        ASSERT_EQ(scan.next(file, kLong), Wait::file);
        const PackedFile expected = reader.read(path);
        EXPECT_TRUE(std::ranges::equal(file->bytes(), expected.bytes())) << path;
    }
    EXPECT_EQ(nextOf(scan), kEnd);
}

TEST_F(FileScanOf, TheSameNameAsOftenAsItIsGiven) {
    const std::string path = image("a.tif");
    FileScan scan(optionsOf({path, path, path}));
    EXPECT_EQ(drain(scan), (Names{path, path, path}));
}

TEST_F(FileScanOf, NoNamesAreNoFiles) {
    for (const bool isOrdered : {true, false}) {
        ScanOptions options = optionsOf({}, 8);
        options.isOrdered = isOrdered;
        FileScan scan(options);
        EXPECT_EQ(nextOf(scan), kEnd);
        EXPECT_EQ(nextOf(scan), kEnd);
    }
}

TEST_F(FileScanOf, FoldersAreWalkedAndHoldTheirImages) {
    image("tree/a.tif");
    image("tree/b/c.tif");
    image("tree/b/d.png");
    write("tree/b/notes.txt", std::string_view("no image"));
    image("tree/left/e.tif");
    const std::string tree = (folder / "tree").string();

    FileScan all(optionsOf({tree}));
    EXPECT_EQ(drain(all),
              (Names{tree + "/a.tif", tree + "/b/c.tif", tree + "/b/d.png", tree + "/left/e.tif"}));

    ScanOptions some = optionsOf({tree});
    some.input.included.emplace_back("*.tif");
    some.input.excluded.emplace_back("left");
    FileScan chosen(some);
    EXPECT_EQ(drain(chosen), (Names{tree + "/a.tif", tree + "/b/c.tif"}));

    ScanOptions each = optionsOf({tree + "/b"});
    each.input.everyFile = true;
    FileScan tried(each);
    EXPECT_EQ(drain(tried), (Names{tree + "/b/c.tif", tree + "/b/d.png", tree + "/b/notes.txt"}));

    ScanOptions flat = optionsOf({tree});
    flat.input.recursive = false;
    FileScan level(flat);
    EXPECT_EQ(drain(level), (Names{tree + "/a.tif"}));
}

TEST_F(FileScanOf, ManyFilesThatAreNoImagesArePassedOver) {
    for (int i = 0; i < 300; ++i) {
        write("tree/" + std::to_string(i) + ".txt", std::string_view("no image"));
    }
    const std::string last = image("tree/z.tif");
    for (const bool isOrdered : {true, false}) {
        ScanOptions options = optionsOf({(folder / "tree").string()}, 8);
        options.isOrdered = isOrdered;
        options.windowFiles = 2;
        FileScan scan(options);
        EXPECT_EQ(drain(scan), Names{last});
    }
}

TEST_F(FileScanOf, PathsThatCannotBeReadAreFilesWithAnError) {
    const std::string missing = (folder / "missing.tif").string();
    const std::string pipe = (folder / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    FileScan scan(optionsOf({missing, image("a.tif"), pipe}));
    std::vector<std::string> errors;
    std::optional<PackedFile> file;
    while (scan.next(file, kLong) == Wait::file) {
        const std::uint32_t error = file->streams()[0].error;
        errors.emplace_back(error == ifdsweep::kNoRow ? ""
                                                      : file->name(file->messages()[error].id));
    }
    EXPECT_EQ(errors, (std::vector<std::string>{"Velmora:pixlore:ifdsweep:statFailure", "",
                                                ifdsweep::kInputFailureId}));
}

TEST_F(FileScanOf, ADashIsAFileOfThatName) {
    FileScan scan(optionsOf({"-"}));
    EXPECT_EQ(drain(scan), Names{"./-"});
}

TEST_F(FileScanOf, ChosenFieldsAloneAreRead) {
    fixture::TiffBuilder builder(fixture::Format{});
    builder.add({fixture::shorts(fixture::kSamplesPerPixel, {7}),
                 fixture::shorts(fixture::kBitsPerSample, {5})});
    ScanOptions options = optionsOf({write("a.tif", builder.build().bytes)});
    options.fields = ifdsweep::chooseTags("SamplesPerPixel").fields;
    FileScan scan(options);
    std::optional<PackedFile> file;
    ASSERT_EQ(scan.next(file, kLong), Wait::file);
    EXPECT_EQ(file->entries().size(), 1U);
    EXPECT_EQ(file->entries()[0].tag, fixture::kSamplesPerPixel);
}

TEST(FileScanWindow, HoldsNoMoreFilesThanItsSize) {
    constexpr std::size_t kWindow = 10;
    for (const bool isOrdered : {true, false}) {
        std::atomic<std::size_t> begun = 0;
        ScanOptions options = withReader(numbered(300), [&](const std::string&) { ++begun; });
        options.isOrdered = isOrdered;
        options.threads = 8;
        options.windowFiles = kWindow;
        FileScan scan(options);
        ASSERT_TRUE(reaches(begun, kWindow));
        rest();
        EXPECT_LE(begun, kWindow + (isOrdered ? 1U : 0U));  // the first is read in any case
        for (std::size_t taken = 1; taken <= 300; ++taken) {
            EXPECT_EQ(nextOf(scan).first, Wait::file);
            EXPECT_LE(begun, taken + kWindow + 1);
        }
        EXPECT_EQ(nextOf(scan), kEnd);
    }
}

TEST(FileScanWindow, HoldsNoMoreBytesButForFilesInHand) {
    constexpr unsigned kThreads = 4;
    for (const bool isOrdered : {true, false}) {
        std::atomic<std::size_t> begun = 0;
        ScanOptions options = withReader(numbered(100), [&](const std::string&) { ++begun; });
        options.isOrdered = isOrdered;
        options.threads = kThreads;
        options.windowBytes = 1;
        FileScan scan(options);
        ASSERT_TRUE(reaches(begun, 1));
        rest();
        EXPECT_LE(begun, kThreads);
        for (std::size_t taken = 1; taken <= 100; ++taken) {
            EXPECT_EQ(nextOf(scan).first, Wait::file);
            EXPECT_LE(begun, taken + kThreads + 1);
        }
        EXPECT_EQ(nextOf(scan), kEnd);
    }
}

TEST(FileScanWindow, NeverStopsTheFileThatIsWaitedFor) {
    for (const unsigned threads : {1U, 2U, 8U}) {
        ScanOptions options = withReader(numbered(500), [](const std::string&) {});
        options.threads = threads;
        options.windowFiles = 1;
        options.windowBytes = 1;
        FileScan scan(options);
        EXPECT_EQ(drain(scan), numbered(500)) << threads;
    }
}

TEST(FileScanWindow, IsFilledWhileTheFirstFileTakesLong) {
    Door door;
    std::atomic<std::size_t> begun = 0;
    ScanOptions options = withReader(numbered(100), [&](const std::string& name) {
        ++begun;
        if (name == "no file 0") {
            door.pass();
        }
    });
    options.threads = 4;
    options.windowFiles = 20;
    FileScan scan(options);
    ASSERT_TRUE(reaches(begun, 20));
    EXPECT_EQ(nextOf(scan, 0), kTimeout);
    rest();
    EXPECT_LE(begun, 21U);  // the first is read in any case
    door.open();
    EXPECT_EQ(drain(scan), numbered(100));
}

TEST(FileScanWaiting, ASlowFileHoldsNoneBackThatWasReadBefore) {
    for (const bool isOrdered : {true, false}) {
        for (std::size_t slow = 0; slow < 10; ++slow) {
            Door door;
            const Names names = numbered(10);
            ScanOptions options = withReader(names, [&](const std::string& name) {
                if (name == names[slow]) {
                    door.pass();
                }
            });
            options.isOrdered = isOrdered;
            FileScan scan(options);
            for (std::size_t i = 0; i < slow; ++i) {
                EXPECT_EQ(nextOf(scan), fileOf(names[i]));
            }
            EXPECT_EQ(nextOf(scan, 5), kTimeout);
            door.open();
            EXPECT_EQ(drain(scan),
                      Names(names.begin() + static_cast<std::ptrdiff_t>(slow), names.end()));
        }
    }
}

TEST(FileScanWaiting, UnorderedFilesPassASlowOne) {
    Door door;
    ScanOptions options = withReader(numbered(100), [&](const std::string& name) {
        if (name == "no file 0") {
            door.pass();
        }
    });
    options.threads = 2;
    options.isOrdered = false;
    FileScan scan(options);
    for (std::size_t i = 1; i < 100; ++i) {
        EXPECT_EQ(nextOf(scan).first, Wait::file);
    }
    EXPECT_EQ(nextOf(scan, 5), kTimeout);
    door.open();
    EXPECT_EQ(nextOf(scan), fileOf("no file 0"));
    EXPECT_EQ(nextOf(scan), kEnd);
}

TEST(FileScanEnd, StoppedMidwayItTellsTheEndAndBeginsNoMore) {
    for (const bool isOrdered : {true, false}) {
        std::atomic<std::size_t> begun = 0;
        ScanOptions options = withReader(numbered(1000), [&](const std::string&) { ++begun; });
        options.isOrdered = isOrdered;
        options.threads = 4;
        options.windowFiles = 16;
        FileScan scan(options);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(nextOf(scan).first, Wait::file);
        }
        scan.stop();
        EXPECT_EQ(nextOf(scan), kEnd);
        EXPECT_EQ(nextOf(scan), kEnd);
        EXPECT_LE(begun, 3U + 16U + 1U);
    }
}

TEST(FileScanEnd, StopEndsTheWaitingOfAnotherThread) {
    Door door;
    ScanOptions options = withReader(numbered(1), [&](const std::string&) { door.pass(); });
    FileScan scan(options);
    std::thread stopper([&] {
        rest();
        scan.stop();
    });
    EXPECT_EQ(nextOf(scan), kEnd);
    stopper.join();
    door.open();
}

TEST(FileScanEnd, ItsThreadsAreGoneWithIt) {
    for (const bool isOrdered : {true, false}) {
        for (const std::size_t taken : {0U, 1U, 40U}) {
            std::atomic<int> readers = 0;
            {
                ScanOptions options = withReader(numbered(2000), [](const std::string&) {});
                options.isOrdered = isOrdered;
                options.threads = 8;
                const auto make = options.makeReader;
                options.makeReader = [&readers, make] {
                    const std::shared_ptr<void> counted(nullptr, [&](void*) { --readers; });
                    ++readers;
                    return [counted, read = make()](const InputFile& input) { return read(input); };
                };
                FileScan scan(options);
                for (std::size_t i = 0; i < taken; ++i) {
                    EXPECT_EQ(nextOf(scan).first, Wait::file);
                }
            }
            EXPECT_EQ(readers, 0) << taken;
        }
    }
}

TEST(FileScanEnd, WhatAThreadThrowsComesThroughOnce) {
    for (const unsigned threads : {1U, 8U}) {
        ScanOptions options = withReader(numbered(300), [](const std::string& name) {
            if (name == "no file 100") {
                throw std::bad_alloc();
            }
        });
        options.threads = threads;
        FileScan scan(options);
        EXPECT_THROW(static_cast<void>(drain(scan)), std::bad_alloc);
        EXPECT_EQ(nextOf(scan), kEnd);
    }
}

TEST(FileScanEnd, AListThatIsNotThereIsToldAtOnce) {
    ScanOptions options;
    options.input.listFile = "/there is no such list";
    EXPECT_THROW(FileScan{options}, ifdsweep::RunFailure);
}

}  // namespace
