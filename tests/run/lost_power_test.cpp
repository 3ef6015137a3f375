// The power fails at every step of a run with a journal: whatever of the writes and names reached
// the disk, the run that goes on ends with the same files as one that nothing disturbed.

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "io/disk.h"
#include "program/program_run.h"
#include "run/journal.h"
#include "run/run_assembly.h"
#include "run/run_output.h"
#include "support/temporary_folder.h"
#include "support/whole_file.h"

namespace {

namespace fs = std::filesystem;
using fixture::readFile;

struct PowerLost {};

/// What the power's end leaves of what was written and not synced.
enum class Luck { none, all, half, journalAlone, outputAlone };
constexpr Luck kLucks[]{Luck::none, Luck::all, Luck::half, Luck::journalAlone, Luck::outputAlone};

std::size_t keptOf(Luck luck, const std::string& name, std::size_t synced, std::size_t written) {
    const bool isJournal = name == "journal";
    switch (luck) {
        case Luck::none:
            return synced;
        case Luck::all:
            return written;
        case Luck::half:
            return synced + (written - synced) / 2;
        case Luck::journalAlone:
            return isJournal ? written : synced;
        case Luck::outputAlone:
            break;
    }
    return isJournal ? synced : written;
}

/// A disk that keeps apart what was written and what was synced, and ends at a given operation.
/// Every file stays linked in a folder beside, so that a name that is lost can come back.
class ForgetfulDisk final : public ifdsweep::Disk {
public:
    ForgetfulDisk(fs::path diskFolder, fs::path besideFolder, std::size_t operationsToDo)
        : folder(std::move(diskFolder)), beside(std::move(besideFolder)), left(operationsToDo) {
        syncNames();
        for (const auto& entry : names) {
            synced[entry.second] = readFile(folder / entry.first);
        }
    }

    int write(int file, std::string_view bytes) const override {
        step();
        return Disk::write(file, bytes);
    }
    int sync(int file) const override {
        step();
        struct stat status {};
        EXPECT_EQ(::fstat(file, &status), 0);
        synced[status.st_ino] = readFile("/proc/self/fd/" + std::to_string(file));
        return 0;
    }
    int syncFolderOf(const std::string&) const override {
        step();
        syncNames();
        return 0;
    }
    int truncate(int file, std::uint64_t length) const override {
        step();
        return Disk::truncate(file, length);
    }
    int link(int file, const std::string& path) const override {
        step();
        return Disk::link(file, path);
    }
    int rename(const std::string& from, const std::string& to) const override {
        step();
        return Disk::rename(from, to);
    }
    int remove(const std::string& path) const override { return isLost ? 0 : Disk::remove(path); }
    std::chrono::steady_clock::time_point now() const override {
        return time += std::chrono::hours(1);  // every commit is due
    }

    /// Makes the folder what the power's end left of it.
    void leave(Luck luck, bool withNames) const {
        keepFiles();
        const Names remaining = withNames ? namesNow() : names;
        for (const auto& entry : namesNow()) {
            fs::remove(folder / entry.first);
        }
        for (const auto& [name, inode] : remaining) {
            const fs::path file = beside / std::to_string(inode);
            const std::string written = readFile(file);
            const std::string& safe = synced[inode];
            // What was cut off and not synced is there again.
            const std::string whole = written.size() < safe.size() ? safe : written;
            fs::create_hard_link(file, folder / name);
            const std::size_t kept = keptOf(luck, name, safe.size(), whole.size());
            std::string bytes = whole.substr(0, kept);
            if (luck == Luck::none) {
                bytes = safe;
            }
            fixture::writeFile(folder / name, bytes);
        }
    }

    mutable bool isLost = false;

private:
    using Names = std::map<std::string, ino_t>;

    void step() const {
        keepFiles();
        if (isLost || left == 0) {
            isLost = true;
            throw PowerLost();
        }
        --left;
    }

    Names namesNow() const {
        Names all;
        for (const auto& entry : fs::directory_iterator(folder)) {
            struct stat status {};
            EXPECT_EQ(::stat(entry.path().c_str(), &status), 0);
            all[entry.path().filename().string()] = status.st_ino;
        }
        return all;
    }

    void syncNames() const {
        names = namesNow();
        keepFiles();
    }

    void keepFiles() const {
        for (const auto& [name, inode] : namesNow()) {
            std::error_code error;
            fs::create_hard_link(folder / name, beside / std::to_string(inode), error);
        }
    }

    fs::path folder;
    fs::path beside;
    mutable std::size_t left;
    mutable Names names;
    mutable std::map<ino_t, std::string> synced;
    mutable std::chrono::steady_clock::time_point time;
};

/// A disk that loses nothing and need not wait.
class QuickDisk final : public ifdsweep::Disk {
public:
    int sync(int) const override { return 0; }
    int syncFolderOf(const std::string&) const override { return 0; }
};

class LostPower : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        testing::internal::CaptureStderr();  // a line for each failure
        for (const char* const name : {"in", "disk", "beside"}) {
            fs::create_directory(folder / name);
        }
        for (int number = 0; number < 8; ++number) {
            fixture::writeFile(input(number), std::string(static_cast<std::size_t>(number), 'x'));
        }
        arguments.output.format = std::string(GetParam()) == "csv"    ? ifdsweep::Format::csv
                                  : std::string(GetParam()) == "json" ? ifdsweep::Format::json
                                                                      : ifdsweep::Format::ndjson;
        arguments.output.fields = {{"Width", std::nullopt}};
        arguments.run.outputFile = folder / "disk/output";
        arguments.run.failureFile = folder / "disk/failed";
    }

    void TearDown() override { testing::internal::GetCapturedStderr(); }

    std::string input(int number) const { return folder / ("in/" + std::to_string(number)); }

    /// A run over the first files, as the program does it. Every third file fails.
    void run(int files, const ifdsweep::Disk& disk) const {
        ifdsweep::Journal journal(folder / "disk/journal", {"a run"}, disk);
        ifdsweep::RunOutput output(arguments, &journal, nullptr, disk);
        ifdsweep::RunAssembly assembly(arguments, output, &journal, disk);
        assembly.begin();
        for (int number = 0; number < files; ++number) {
            const ifdsweep::InputFile file{input(number), false, ""};
            std::string entry;
            if (const auto ending = journal.endingOf(file, entry)) {
                assembly.leaveOut(*ending);
                continue;
            }
            ifdsweep::FileReport report =
                number % 3 == 1 ? ifdsweep::failureReport("why") : ifdsweep::FileReport();
            report.isShown = number % 3 != 1;
            assembly.add(
                file, report,
                [&] { output.stream().append("{\"file\":" + std::to_string(number) + "}\n"); },
                entry);
            assembly.commit();
        }
        assembly.end();
        output.finish();
        assembly.settle();
    }

    struct Files {
        std::string output;
        std::string failed;
        std::vector<std::string> names;
        bool operator==(const Files&) const = default;
    };

    Files files() const {
        Files all{readFile(folder / "disk/output"), readFile(folder / "disk/failed"), {}};
        for (const auto& entry : fs::directory_iterator(folder / "disk")) {
            all.names.push_back(entry.path().filename().string());
        }
        std::sort(all.names.begin(), all.names.end());
        return all;
    }

    void empty(const char* name) const {
        fs::remove_all(folder / name);
        fs::create_directory(folder / name);
    }

    fixture::TemporaryFolder folder;
    ifdsweep::RunOptions arguments;
};

TEST_P(LostPower, TheRunThatGoesOnEndsAsIfNothingHadBeen) {
    // A run; one that goes on with a whole output; one that has nothing to add.
    for (const auto& [before, after] : {std::pair(0, 5), std::pair(5, 8), std::pair(5, 5)}) {
        empty("disk");
        if (before > 0) {
            run(before, QuickDisk());
        }
        run(after, QuickDisk());
        const Files expected = files();
        std::size_t steps = 0;
        for (bool isDone = false; !isDone; ++steps) {
            for (const Luck luck : kLucks) {
                for (const bool withNames : {false, true}) {
                    empty("disk");
                    empty("beside");
                    if (before > 0) {
                        run(before, QuickDisk());
                    }
                    const ForgetfulDisk disk(folder / "disk", folder / "beside", steps);
                    try {
                        run(after, disk);
                        isDone = true;
                    } catch (const PowerLost&) {
                    }
                    disk.isLost = true;
                    disk.leave(luck, withNames);
                    const std::string place =
                        std::to_string(before) + " to " + std::to_string(after) + ", step " +
                        std::to_string(steps) + ", luck " + std::to_string(static_cast<int>(luck)) +
                        (withNames ? ", names kept" : ", names lost");
                    ASSERT_NO_THROW(run(after, QuickDisk())) << place;
                    ASSERT_EQ(files().output, expected.output) << place;
                    ASSERT_TRUE(files() == expected) << place;
                }
            }
        }
        EXPECT_GT(steps, before == after ? 0U : 10U);
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, LostPower, testing::Values("ndjson", "json", "csv"),
                         [](const auto& row) { return std::string(row.param); });

}  // namespace
