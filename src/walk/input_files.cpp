#include "walk/input_files.h"

#include <algorithm>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "io/descriptor.h"
#include "io/output.h"
#include "io/run_failure.h"

namespace ifdsweep {
namespace {

using EntryKind = FolderListing::EntryKind;

EntryKind kindOf(const struct stat& status) {
    return S_ISREG(status.st_mode)   ? EntryKind::file
           : S_ISDIR(status.st_mode) ? EntryKind::folder
                                     : EntryKind::other;
}

/// The kind of what a folder says of an entry; `other` for what is not to be read.
EntryKind resolvedKind(const std::string& path, EntryKind kind, bool followLinks) {
    struct stat status {};
    if (kind == EntryKind::unknown && ::lstat(path.c_str(), &status) == 0) {
        kind = S_ISLNK(status.st_mode) ? EntryKind::link : kindOf(status);
    }
    if (kind == EntryKind::link) {
        // A link that leads nowhere is tried, so that it is told of.
        kind = ::stat(path.c_str(), &status) == 0 ? kindOf(status) : EntryKind::file;
        return kind == EntryKind::folder && !followLinks ? EntryKind::other : kind;
    }
    return kind;
}

bool contains(const std::vector<FileIdentity>& files, FileIdentity identity) {
    return std::find(files.begin(), files.end(), identity) != files.end();
}

std::string pathIn(const std::string& folder, std::string_view name) {
    std::string path = folder;
    if (!path.ends_with('/')) {
        path.push_back('/');
    }
    return path.append(name);
}

}  // namespace

InputFiles::InputFiles(const InputChoice& inputChoice, std::vector<FileIdentity> filesWritten,
                       std::vector<FileIdentity> filesReplaced)
    : choice(inputChoice), written(std::move(filesWritten)), replaced(std::move(filesReplaced)) {
    if (!choice.listFile.empty()) {
        list.emplace(choice.listFile, choice.nulSeparated);
    }
}

std::optional<InputFile> InputFiles::next() {
    while (!isAtEnd()) {
        if (std::optional<InputFile> file = step()) {
            return file;
        }
    }
    return std::nullopt;
}

std::optional<InputFile> InputFiles::step() {
    if (!folders.empty()) {
        return takeFound();
    }
    if (nextPath < choice.paths.size()) {
        return takeNamed();
    }
    return list ? takeListed() : std::nullopt;
}

std::optional<InputFile> InputFiles::takeNamed() {
    return name(choice.paths[nextPath++]);
}

int InputFiles::awaited() {
    const bool isAtList = folders.empty() && nextPath == choice.paths.size() && list;
    try {
        return isAtList && !list->isReady() ? list->descriptor() : -1;
    } catch (const OutputError&) {
        return -1;  // `next` meets it again
    }
}

std::optional<InputFile> InputFiles::takeListed() {
    std::optional<std::string> line;
    try {
        line = list->next();
    } catch (const OutputError& error) {
        list.reset();
        return InputFile{choice.listFile, false,
                         "the list cannot be read: " + systemErrorText(error.systemError), false};
    }
    if (!line) {
        list.reset();
        return std::nullopt;
    }
    std::string path(choice.nulSeparated ? *line : pathOfFailureLine(*line));
    if (path.empty()) {
        return InputFile{choice.listFile, false,
                         "line " + std::to_string(list->line()) + " of the list is empty", false};
    }
    if (path == kStandardInput) {
        path.insert(0, "./");  // in a list, the name of a file
    }
    return name(std::move(path));
}

std::optional<InputFile> InputFiles::name(std::string path) {
    if (path == kStandardInput) {
        return InputFile{std::move(path), false, ""};
    }
    if (choice.foundBefore) {
        return InputFile{std::move(path), !choice.everyFile, ""};
    }
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) {
        if (S_ISDIR(status.st_mode)) {
            return enter(std::move(path));
        }
        const FileIdentity identity{status.st_dev, status.st_ino};
        if (S_ISREG(status.st_mode) && contains(replaced, identity)) {
            throw Refusal(path + " cannot be both read and written");
        }
        if (S_ISREG(status.st_mode) && contains(written, identity)) {
            return InputFile{std::move(path), false, "this is also the output"};
        }
        if (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode) || S_ISCHR(status.st_mode)) {
            return InputFile{
                std::move(path), false,
                "this is a pipe or device and no file; pass it as standard input to -"};
        }
    }
    return InputFile{std::move(path), false, ""};
}

std::optional<InputFile> InputFiles::enter(std::string path) {
    FolderListing folder(std::move(path));
    if (folder.error() != 0) {
        return InputFile{folder.path(), false,
                         "cannot read the folder: " + systemErrorText(folder.error())};
    }
    if (walked.insert(folder.identity()).second) {
        folders.push_back(std::move(folder));
    }
    return std::nullopt;
}

std::optional<InputFile> InputFiles::takeFound() {
    if (folders.back().isDone()) {
        folders.pop_back();
        return std::nullopt;
    }
    const FolderListing::Entry entry = folders.back().take();
    std::string path = pathIn(folders.back().path(), entry.name);
    const EntryKind kind = resolvedKind(path, entry.kind, choice.followLinks);
    if (kind == EntryKind::other || isLeftOut(path, kind)) {
        return std::nullopt;
    }
    if (kind == EntryKind::folder) {
        return choice.recursive ? enter(std::move(path)) : std::nullopt;
    }
    if (isWritten(path, entry)) {
        return std::nullopt;
    }
    return InputFile{std::move(path), !choice.everyFile, ""};
}

bool InputFiles::isWritten(const std::string& path, const FolderListing::Entry& entry) const {
    // What a folder tells of a name that is no link rules out nearly every file.
    const bool isPossible =
        entry.kind == EntryKind::link || entry.kind == EntryKind::unknown ||
        std::any_of(written.begin(), written.end(), [&entry](const FileIdentity& identity) {
            return identity.second == entry.inode;
        });
    struct stat status {};
    return !written.empty() && isPossible && ::stat(path.c_str(), &status) == 0 &&
           contains(written, {status.st_dev, status.st_ino});
}

bool InputFiles::isLeftOut(const std::string& path, EntryKind kind) const {
    const std::string_view fromFolder =
        std::string_view(path).substr(pathIn(folders.front().path(), "").size());
    const bool isFolder = kind == EntryKind::folder;
    const auto matches = [&](const Glob& glob) { return glob.matches(fromFolder, isFolder); };
    const auto mayHold = [&](const Glob& glob) { return glob.mayMatchBelow(fromFolder); };
    const auto& included = choice.included;
    const bool isIncluded =
        included.empty() || (isFolder ? std::any_of(included.begin(), included.end(), mayHold)
                                      : std::any_of(included.begin(), included.end(), matches));
    return !isIncluded || std::any_of(choice.excluded.begin(), choice.excluded.end(), matches);
}

}  // namespace ifdsweep
