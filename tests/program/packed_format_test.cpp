// What `--format packed` writes: for each file a block of which the other formats can be made, as
// the program would have written them.

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include "ifdsweep/host.h"
#include "ifdsweep/write.h"
#include "io/sanitized.h"
#include "pack/file_status.h"
#include "pack/packed_file.h"
#include "pack/packed_stream.h"
#include "pack/unpack.h"
#include "program/program_files.h"
#include "program/program_run.h"
#include "scan/packing_reader.h"
#include "support/whole_file.h"

namespace {

using namespace programrun;

namespace fs = std::filesystem;

using ifdsweep::Format;
using ifdsweep::PackedFile;
using ifdsweep::WriteOptions;
using Words = std::vector<std::string>;

/// The packed files of a stream of them. Throws std::runtime_error where it is none.
std::vector<PackedFile> filesIn(std::string_view stream) {
    if (!stream.starts_with(ifdsweep::kPackedStreamHead)) {
        throw std::runtime_error("no stream of packed files");
    }
    stream.remove_prefix(ifdsweep::kPackedStreamHead.size());
    std::vector<PackedFile> files;
    constexpr std::size_t kSize = sizeof(ifdsweep::PackedSize);
    while (!stream.empty()) {
        const std::span<const char, kSize> number(stream.substr(0, kSize).data(), kSize);
        const auto size = static_cast<std::size_t>(ifdsweep::packedSize(number));
        if (size > stream.size() - kSize) {
            throw std::runtime_error("a block is cut");
        }
        const std::string_view block = stream.substr(kSize, size);
        auto file = PackedFile::parse(std::as_bytes(std::span(block)));
        if (!file) {
            throw std::runtime_error("no packed file");
        }
        files.push_back(std::move(*file));
        stream.remove_prefix(kSize + size);
    }
    return files;
}

/// What a format is of packed files.
std::string written(const WriteOptions& options, const std::vector<PackedFile>& files) {
    ifdsweep::Host host;
    std::string text;
    ifdsweep::Writer writer(options, text);
    writer.begin();
    for (const PackedFile& file : files) {
        if (auto* listener = writer.listenerFor(file.textOf(file.file().path))) {
            ifdsweep::replay(file, *listener);
        }
        writer.write(ifdsweep::unpackOutcome(file, host));
    }
    writer.end();
    return text;
}

/// The statuses of packed files, one after the other.
std::string statusesOf(const std::vector<PackedFile>& files) {
    std::string words;
    for (const PackedFile& file : files) {
        words.append(words.empty() ? "" : " ").append(statusWord(ifdsweep::statusOf(file)));
    }
    return words;
}

class PackedFormat : public ProgramRun {
protected:
    /// The arguments before those of a format.
    [[nodiscard]] Ending runAs(const char* format, const Words& arguments) const {
        Words words{"--format", format};
        words.insert(words.end(), arguments.begin(), arguments.end());
        return run(words);
    }

    /// Expects of a run that everything can be made of its packed files.
    void expectEverything(const Words& arguments, bool tellsStreams = false) const {
        const Ending packed = runAs("packed", arguments);
        const std::vector<PackedFile> files = filesIn(packed.out);
        for (const WriteOptions& options : std::vector<WriteOptions>{
                 {.format = Format::json},
                 {.format = Format::ndjson, .tellStreams = tellsStreams},
                 {.format = Format::typed},
                 {.format = Format::facts},
             }) {
            constexpr const char* kWords[]{"text", "json", "ndjson", "typed", "csv", "facts"};
            const char* const word = kWords[static_cast<std::size_t>(options.format)];
            const Ending direct = runAs(word, arguments);
            EXPECT_TRUE(direct.out == written(options, files)) << word << ' ' << arguments[0];
            EXPECT_EQ(direct.error, packed.error) << word;
            EXPECT_EQ(direct.status, packed.status) << word;
        }
    }
};

TEST_F(PackedFormat, HoldsWhatTheOtherFormatsShow) {
    programfiles::writeAll(in("."));
    fixture::writeFile(in("text.tif"), "just a text\n");
    fixture::writeFile(in("empty.tif"), "");
    const std::string samples = (fs::current_path() / "samples").string();
    const Words files{".", samples, in("missing.tif")};
    const auto with = [&](Words options) {
        options.insert(options.end(), files.begin(), files.end());
        return options;
    };
    expectEverything(with({"--all"}));
    expectEverything(with({"--streams", "all", "--check"}), true);
    expectEverything(with({"--tags", "Make,Width,GPS*,60000"}));
    expectEverything(with({"--reading", "contract"}));
    expectEverything(with({"--warnings", "none", "--max-value", "16"}));
    expectEverything(with({"--ignore", "unrecognizedTagFormatId", "--max", "1"}));
}

TEST_F(PackedFormat, IsTheSameOfOneFileAndOfMany) {
    programfiles::writePair(in("."));
    const Ending one = bothWays({"--format", "packed", "b.tif"});
    const Ending two = run({"--format", "packed", "a.tif", "b.tif"});
    ASSERT_EQ(filesIn(two.out).size(), 2U);
    EXPECT_TRUE(two.out.ends_with(one.out.substr(ifdsweep::kPackedStreamHead.size())));
}

TEST_F(PackedFormat, IsWhatIsReadByAThread) {
    programfiles::writePair(in("."));
    const std::string path = in("b.tif").string();
    ifdsweep::PackingReader reader({}, {});
    const PackedFile read = reader.read(path);
    const std::vector<PackedFile> files = filesIn(run({"--format", "packed", path}).out);
    ASSERT_EQ(files.size(), 1U);
    EXPECT_TRUE(std::equal(read.bytes().begin(), read.bytes().end(), files[0].bytes().begin(),
                           files[0].bytes().end()));
}

TEST_F(PackedFormat, HasNoFileInAnEmptyRun) {
    fs::create_directory(in("nothing"));
    EXPECT_EQ(run({"--format", "packed", "nothing"}).out, ifdsweep::kPackedStreamHead);
}

TEST_F(PackedFormat, LeavesOutWarningsThatAreNotAskedFor) {
    fixture::writeFile(in("damaged.tif"), programfiles::damagedImage());
    for (const Words& arguments : std::vector<Words>{
             {"--warnings", "none"},
             {"--warnings", "count"},
         }) {
        Words words{"--format", "packed", "damaged.tif"};
        words.insert(words.begin(), arguments.begin(), arguments.end());
        const std::vector<PackedFile> files = filesIn(run(words).out);
        ASSERT_EQ(files.size(), 1U);
        EXPECT_TRUE(files[0].messages().empty());
        EXPECT_FALSE(files[0].entries().empty());
    }
}

TEST_F(PackedFormat, SaysHowEachReadingEnded) {
    programfiles::writePair(in("."));
    fixture::writeFile(in("damaged.tif"), programfiles::damagedImage());
    fixture::writeFile(in("text.tif"), "just a text\n");
    fixture::writeFile(in("endless.tif"), programfiles::endlessImage());
    const Words files{"a.tif", "damaged.tif", "text.tif", "missing.tif", "endless.tif", "b.tif"};
    Words arguments =
        unlimited({"--format", "packed", "--timeout", "0.2", "--jobs", "2", "--quiet"});
    arguments.insert(arguments.end(), files.begin(), files.end());
    const Ending many = run(arguments);
    EXPECT_EQ(many.status, 1);
    EXPECT_EQ(statusesOf(filesIn(many.out)), "ok warned error unreadable timeout ok");
    const Ending one = run(unlimited({"--format", "packed", "--timeout", "0.2", "endless.tif"}));
    EXPECT_EQ(statusesOf(filesIn(one.out)), "timeout");
}

TEST_F(PackedFormat, SaysThatAFileTookTooMuchMemory) {
    if (ifdsweep::kIsSanitized) {
        GTEST_SKIP() << "a sanitizer needs all address space";
    }
    programfiles::writePair(in("."));
    programfiles::writeLarge(in("large.tif"));
    const Words options{"--format", "packed", "--memory",    "300000000", "--quiet",
                        "--jobs",   "1",      "--max-value", "all"};
    Words arguments = options;
    arguments.insert(arguments.end(), {"a.tif", "large.tif", "b.tif"});
    const Ending given = run(arguments);
    const std::vector<PackedFile> files = filesIn(given.out);
    EXPECT_EQ(statusesOf(files), "ok memory ok");
    EXPECT_EQ(files.at(2).directories().size(),
              filesIn(run({"--format", "packed", "b.tif"}).out).at(0).directories().size());
}

TEST_F(PackedFormat, SaysThatTheProcessOfAFileEnded) {
    programfiles::writePair(in("."));
    fixture::writeFile(in("endless.tif"), programfiles::endlessImage());
    Launch launch;
    launch.arguments = unlimited(
        {"--format", "packed", "--jobs", "1", "--quiet", "a.tif", "endless.tif", "b.tif"});
    Running program = start(launch);
    sendTo(awaitReaderOf(program.process(), "endless.tif"), SIGKILL);
    const Ending given = endingOf(program.wait());
    EXPECT_EQ(statusesOf(filesIn(given.out)), "ok crashed ok");
}

TEST_F(PackedFormat, GoesOnWhereARunWasInterrupted) {
    programfiles::writePair(in("."));
    const Words arguments{"--format", "packed",  "--output", "out",  "--resume",
                          "journal",  "--quiet", "a.tif",    "b.tif"};
    EXPECT_EQ(run(arguments).status, 0);
    const std::string whole = fixture::readFile(in("out"));
    EXPECT_EQ(run(arguments).status, 0);
    EXPECT_EQ(fixture::readFile(in("out")), whole);
    EXPECT_EQ(filesIn(whole).size(), 2U);
}

/// A terminal that nobody looks at.
class Terminal {
public:
    Terminal() : master(::posix_openpt(O_RDWR | O_NOCTTY)) {
        if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0 ||
            (slave = ::open(::ptsname(master), O_RDWR | O_NOCTTY)) < 0) {
            throw std::runtime_error("no terminal can be had");
        }
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal() {
        ::close(slave);
        ::close(master);
    }
    [[nodiscard]] int end() const { return slave; }

private:
    int master;
    int slave = -1;
};

TEST_F(PackedFormat, IsNotForATerminal) {
    programfiles::writePair(in("."));
    const Terminal terminal;
    Launch launch;
    launch.prepare = [&terminal] { ::dup2(terminal.end(), STDOUT_FILENO); };
    launch.arguments = {"--format", "packed", "a.tif"};
    const Ending refused = run(launch);
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.error,
              "ifdsweep: --format packed writes no text, and a terminal shows nothing else: write "
              "to a pipe, or to a file with --output\n");
    launch.arguments = {"--format", "packed", "--output", "out", "a.tif"};
    EXPECT_EQ(run(launch).status, 0);
    EXPECT_EQ(filesIn(fixture::readFile(in("out"))).size(), 1U);
}

}  // namespace
