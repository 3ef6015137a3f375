// The journal. Any bytes: they are refused and stay as they are, or make a state that reads back as
// the same one. A journal of ours, cut at any byte or empty from there on: the files that it counts
// as finished are the first ones, and a run that goes on with it finishes the others.

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "fuzz_input.h"
#include "fuzz_target.h"
#include "io/run_failure.h"
#include "memory_file.h"
#include "run/journal.h"

namespace {

using Ending = ifdsweep::Journal::Ending;

const std::vector<std::string> kPhrases{"ifdsweep 1", "--format json"};
constexpr std::string_view kHead = "ifdsweep journal 2\nifdsweep 1\n--format json\n\n";

bool areSame(const ifdsweep::Journal& one, const ifdsweep::Journal& other) {
    const auto whole = [](const ifdsweep::Journal& journal) {
        const auto note = journal.whole().value_or(ifdsweep::Journal::WholeNote());
        return std::tuple(journal.whole().has_value(), note.output.mark, note.output.start,
                          note.length, note.size);
    };
    const auto output = [](const ifdsweep::Journal& journal) {
        const auto note = journal.output().value_or(ifdsweep::Journal::OutputNote());
        return std::tuple(journal.output().has_value(), note.mark, note.start);
    };
    return one.finishedFiles() == other.finishedFiles() &&
           one.outputLength() == other.outputLength() && one.listLength() == other.listLength() &&
           one.list() == other.list() && output(one) == output(other) && whole(one) == whole(other);
}

void checkAnyBytes(const std::string& bytes) {
    const fuzz::MemoryFile file(bytes);
    try {
        ifdsweep::Journal journal(file.path(), kPhrases);
        fuzz::require(file.contents() == bytes, "nothing is written before the journal is begun");
        fuzz::require(journal.finishedFiles() <=
                          static_cast<std::uint64_t>(std::count(bytes.begin(), bytes.end(), '\n')),
                      "a finished file is a line");
        journal.begin();
        const std::string kept = file.contents();
        fuzz::require(kept == kHead || bytes.starts_with(kept), "whole lines are kept");
        fuzz::require(areSame(ifdsweep::Journal(file.path(), kPhrases), journal),
                      "a journal that was begun reads back the same");
    } catch (const ifdsweep::Refusal&) {
        fuzz::require(file.contents() == bytes, "what is refused stays as it is");
    }
}

struct FinishedFile {
    ifdsweep::InputFile input;
    ifdsweep::FileReport report;
    std::uint64_t outputLength = 0;
    std::uint64_t listLength = 0;

    [[nodiscard]] Ending ending() const {
        return report.ending == ifdsweep::FileReport::Ending::failed    ? Ending::failed
               : report.ending == ifdsweep::FileReport::Ending::skipped ? Ending::skipped
               : report.warnings.empty()                                ? Ending::read
                                                                        : Ending::warned;
    }
};

std::string arbitraryName(fuzz::FuzzInput& input) {
    const auto bytes = input.piece(input.below(32));
    std::string name(bytes.begin(), bytes.end());
    std::replace(name.begin(), name.end(), '\0', '/');
    std::string path = "/dev/null/" + name;  // where nothing can ever be
    // Most are short, and a list may hold one of any length.
    if (!name.empty() && input.below(64) == 1) {
        constexpr std::size_t kReadAtOnce = std::size_t{1} << 20;
        while (path.size() < kReadAtOnce) {
            path += name;
        }
    }
    return path;
}

std::vector<FinishedFile> arbitraryFiles(fuzz::FuzzInput& input) {
    std::vector<FinishedFile> files(1 + input.below(8));
    for (FinishedFile& file : files) {
        file.input.path = arbitraryName(input);
        if (input.below(4) == 1) {
            file.input.failure = "why\tnot\n" + std::to_string(input.byte());
        }
        file.report.ending = static_cast<ifdsweep::FileReport::Ending>(input.below(3));
        if (input.below(2) == 1) {
            file.report.warnings = {{"Velmora:a", 1}};
        }
        file.outputLength = input.word(8);
        file.listLength = input.word(2);
    }
    return files;
}

/// Looks at every file in turn and finishes those that were not.
/// @return how the others ended
std::vector<Ending> goOn(ifdsweep::Journal& journal, const std::vector<FinishedFile>& files) {
    std::vector<Ending> given;
    for (const FinishedFile& file : files) {
        std::string entry;
        if (const auto ending = journal.endingOf(file.input, entry)) {
            given.push_back(*ending);
            continue;
        }
        journal.add(file.report, entry, file.outputLength, file.listLength);
        journal.commit([] {});
    }
    return given;
}

std::vector<Ending> endingsOf(const std::vector<FinishedFile>& files, std::size_t count) {
    std::vector<Ending> endings;
    for (std::size_t index = 0; index < count; ++index) {
        endings.push_back(files[index].ending());
    }
    return endings;
}

struct OwnJournal {
    std::size_t begun = 0;  ///< what was on the disk before anything else was written
    std::string bytes;
};

/// The journal of a whole run.
OwnJournal journalOf(const std::vector<FinishedFile>& files, const ifdsweep::FileMark& mark) {
    const fuzz::MemoryFile file;
    ifdsweep::Journal journal(file.path(), kPhrases);
    journal.noteOutput({mark, 7});
    journal.noteList(mark);
    journal.begin();
    const std::size_t begun = file.contents().size();
    fuzz::require(goOn(journal, files).empty(), "a new journal knows no file");
    journal.noteWhole(files.back().outputLength);
    return {begun, file.contents()};
}

void checkOwn(fuzz::FuzzInput& input) {
    const std::vector<FinishedFile> files = arbitraryFiles(input);
    const ifdsweep::FileMark mark{{input.word(8), input.word(8)},
                                  static_cast<std::int64_t>(input.word(8)),
                                  static_cast<std::uint32_t>(input.word(4))};
    const OwnJournal whole = journalOf(files, mark);
    const bool isEmptied = input.below(2) == 1;
    const std::size_t cut = input.word(4) % (whole.bytes.size() + 1);
    std::string bytes = whole.bytes.substr(0, cut);
    if (isEmptied) {
        bytes.resize(cut < whole.begun ? whole.begun : whole.bytes.size(), '\0');
    }

    const fuzz::MemoryFile file(bytes);
    ifdsweep::Journal journal(file.path(), kPhrases);
    const auto done = static_cast<std::size_t>(journal.finishedFiles());
    fuzz::require(done <= files.size(), "no file is finished that was not");
    fuzz::require(done == files.size() || !journal.whole(), "the output is whole at the end alone");
    fuzz::require(done == 0 || journal.outputLength() == files[done - 1].outputLength,
                  "the output reaches behind the last finished file");
    fuzz::require(done == 0 || journal.listLength() == files[done - 1].listLength,
                  "the list reaches behind the last finished file");
    journal.begin();
    std::vector<Ending> given = goOn(journal, files);
    std::vector<Ending> expected = endingsOf(files, done);
    // Those of one path may be given in any order.
    std::sort(given.begin(), given.end());
    std::sort(expected.begin(), expected.end());
    fuzz::require(given == expected, "the first files are finished, as they were, and no others");
    fuzz::require(ifdsweep::Journal(file.path(), kPhrases).finishedFiles() == files.size(),
                  "a run that goes on finishes the others");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input(std::span(data, size));
    const std::size_t form = input.below(3);
    if (form == 2) {
        checkOwn(input);
        return 0;
    }
    const auto rest = input.rest();
    checkAnyBytes((form == 1 ? std::string(kHead) : "") + std::string(rest.begin(), rest.end()));
    return 0;
}
