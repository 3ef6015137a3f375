#pragma once

// Input files: every path to be read, in order: those of the choice, then those of its list.
// Folders are walked where they stand, depth first, names sorted by their bytes. What is held at a
// time are the names of the folders on the way down, and the identity of every folder walked, so
// that none is walked twice.
//
// Ownership: owns its listings; borrows the choice. Threads: one at a time.

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "walk/folder_listing.h"
#include "walk/input_choice.h"
#include "walk/input_file.h"
#include "walk/path_list.h"

namespace ifdsweep {

class InputFiles {
public:
    /// @param filesWritten  what the program writes to, which must not be read
    /// @param filesReplaced files whose content ends with the run: to be told to read one ends it
    /// Throws RunFailure when the list cannot be opened.
    InputFiles(const InputChoice& inputChoice, std::vector<FileIdentity> filesWritten,
               std::vector<FileIdentity> filesReplaced = {});

    /// Walks past a folder, whatever path leads to it.
    void leaveOut(FileIdentity folder) { walked.insert(folder); }

    /// The next path; none after the last. Throws Refusal for a listed file that is replaced.
    [[nodiscard]] std::optional<InputFile> next();

    /// As `next`, but none also for a folder or a file in one that is not to be read, so that the
    /// caller can look about on a long way.
    [[nodiscard]] std::optional<InputFile> step();

    /// Whether no path is left, as far as can be told without looking.
    [[nodiscard]] bool isAtEnd() const noexcept {
        return folders.empty() && nextPath == choice.paths.size() && !list;
    }

    /// A descriptor to wait for before `next`, which would wait otherwise; -1 for none.
    [[nodiscard]] int awaited();

private:
    [[nodiscard]] std::optional<InputFile> takeNamed();
    [[nodiscard]] std::optional<InputFile> takeListed();
    [[nodiscard]] std::optional<InputFile> takeFound();
    [[nodiscard]] std::optional<InputFile> name(std::string path);
    [[nodiscard]] std::optional<InputFile> enter(std::string path);
    [[nodiscard]] bool isWritten(const std::string& path, const FolderListing::Entry& entry) const;
    [[nodiscard]] bool isLeftOut(const std::string& path, FolderListing::EntryKind kind) const;

    const InputChoice& choice;
    std::vector<FileIdentity> written;
    std::vector<FileIdentity> replaced;
    std::size_t nextPath = 0;
    std::optional<PathList> list;
    std::vector<FolderListing> folders;  ///< from the one that was named to the one at hand
    std::set<FileIdentity> walked;
};

}  // namespace ifdsweep
