#include "run/output_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "io/interruption.h"
#include "io/output.h"
#include "io/run_failure.h"
#include "run/file_roles.h"

namespace ifdsweep {
namespace {

/// The file behind links, there already or not, so that a link stays one.
std::string behindLinks(const std::string& path) {
    constexpr int kMostLinks = 40;  // as the system has it
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        return path;
    }
    std::filesystem::path file = path;
    std::error_code error;
    for (int link = 0; link < kMostLinks && std::filesystem::is_symlink(file, error); ++link) {
        file = file.parent_path() / std::filesystem::read_symlink(file, error);
    }
    return file.string();
}

std::uint64_t sizeOf(int file) {
    struct stat status {};
    return ::fstat(file, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

/// Where the next byte goes.
std::uint64_t positionOf(int file) {
    const bool appends = (::fcntl(file, F_GETFL) & O_APPEND) != 0;
    const off_t position = appends ? -1 : ::lseek(file, 0, SEEK_CUR);
    return position < 0 ? sizeOf(file) : static_cast<std::uint64_t>(position);
}

void copyBytes(int from, int to, std::uint64_t length) {
    constexpr std::uint64_t kPiece = std::uint64_t{1} << 20;
    FileDescriptorSink sink(to);
    for (std::uint64_t position = 0; position < length;) {
        const std::string piece =
            readPiece(from, position, std::min<std::uint64_t>(kPiece, length - position));
        if (piece.empty()) {
            throw OutputError(EIO);
        }
        sink.write(piece);
        position += piece.size();
    }
}

std::string uniqueName(const std::string& name) {
    constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device random;
    std::string unique = name + '.';
    for (int letter = 0; letter < 6; ++letter) {
        unique.push_back(kLetters[random() % kLetters.size()]);
    }
    return unique;
}

}  // namespace

OutputFile::OutputFile(const std::string& path, Journal* runJournal, const Disk& outputDisk)
    : disk(outputDisk), journal(runJournal), name(path.empty() ? path : behindLinks(path)) {
    if (name.empty()) {
        lookAtStandardOutput();
    } else {
        lookAtName(path);
    }
}

OutputFile::~OutputFile() {
    if (!temporary.empty() && !isPartKept) {
        static_cast<void>(disk.remove(temporary));
        Interruption::keep();
    }
}

void OutputFile::lookAtStandardOutput() {
    const std::optional<FileMark> mark = markOf(STDOUT_FILENO);
    if (journal == nullptr || !mark) {
        return;
    }
    target = Target::append;
    if (!journal->output()) {
        start = kept = positionOf(STDOUT_FILENO);
        return;
    }
    isNoted = true;
    start = journal->output()->start;
    kept = journal->outputLength();
    if (journal->output()->mark != *mark) {
        throw Refusal("the standard output is not the file that the journal " + journal->path() +
                      " tells of; append to that one with >>");
    }
    const std::uint64_t size = sizeOf(STDOUT_FILENO);
    if (size < kept) {
        throw Refusal("the standard output holds " + std::to_string(size) + " of the " +
                      std::to_string(kept) + " bytes that the journal " + journal->path() +
                      " tells of; append to it with >>, or remove the journal to start anew");
    }
    const auto& whole = journal->whole();
    if (whole && whole->length == kept) {
        if (size != whole->size) {
            throw Refusal("the standard output holds " + std::to_string(size) +
                          " bytes, and not the " + std::to_string(whole->size) +
                          " that the journal " + journal->path() + " tells of");
        }
        state = State::whole;
    }
}

void OutputFile::lookAtName(const std::string& path) {
    struct stat status {};
    const bool exists = ::stat(name.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) {
        check(EISDIR, path);
    }
    if (exists && !S_ISREG(status.st_mode)) {
        file.reset(::open(name.c_str(), O_WRONLY | O_CLOEXEC));  // a device or pipe keeps its name
        check(file.isOpen() ? 0 : errno, path);
        return;
    }
    if (exists) {
        old.emplace(status.st_dev, status.st_ino);
    }
    target = journal != nullptr ? Target::part : Target::fresh;
    if (target == Target::part) {
        lookAtPart();
    }
    if (!file.isOpen()) {
        makeFile();
    }
}

void OutputFile::lookAtPart() {
    const std::string part = partNameOf(name);
    const auto& noted = journal->output();
    kept = journal->outputLength();
    struct stat status {};
    if (::lstat(part.c_str(), &status) == 0) {
        file.reset(::open(part.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (!noted || !file.isOpen() || markOf(file.get()) != noted->mark) {
            throw Refusal(part + " is not what the journal " + journal->path() +
                          " left there, and is left as it is");
        }
        if (sizeOf(file.get()) < kept) {
            throw Refusal(part + " is shorter than the journal " + journal->path() +
                          " tells; remove both to start anew");
        }
        temporary = part;
        isPartKept = isNoted = true;
        return;
    }
    const std::optional<FileMark> mark = markOf(name);
    if (mark && ::stat(name.c_str(), &status) == 0 &&
        isWholeOutput(*mark, static_cast<std::uint64_t>(status.st_size))) {
        state = State::whole;
    } else if (kept > 0) {
        throw Refusal("the output " + name + " is not the one that the journal " + journal->path() +
                      " tells of; remove the journal to start anew");
    }
}

bool OutputFile::isWholeOutput(const FileMark& mark, std::uint64_t size) const {
    const auto& whole = journal->whole();
    if (whole && whole->output.mark == mark) {
        return whole->length == kept && whole->size == size;
    }
    // It took the name, and the journal could not be told any more.
    return journal->output() && journal->output()->mark == mark && size >= kept;
}

void OutputFile::makeFile() {
    file = makeUnnamedFile(name);
    if (file.isOpen()) {
        return;
    }
    std::string place = target == Target::part ? partNameOf(name) : name + ".XXXXXX";
    file.reset(target == Target::part
                   ? ::open(place.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666)
                   : ::mkostemp(place.data(), O_CLOEXEC));
    check(file.isOpen() ? 0 : errno, name);
    // From here on a name is to be removed by whatever ends the run before it is whole.
    temporary = place;
    if (target == Target::fresh) {
        Interruption::removeAtEnd(temporary);
        const mode_t mask = ::umask(0);
        static_cast<void>(::umask(mask));
        static_cast<void>(::fchmod(file.get(), 0666 & ~mask));
    }
}

std::vector<FileIdentity> OutputFile::identities() const {
    std::vector<FileIdentity> files;
    for (const auto& identity : {old, identityOf(descriptor())}) {
        if (identity) {
            files.push_back(*identity);
        }
    }
    return files;
}

int OutputFile::descriptor() const noexcept {
    return file.isOpen() ? file.get() : STDOUT_FILENO;
}

void OutputFile::note() {
    const bool hasFile = target == Target::append || target == Target::part;
    if (hasFile && !isNoted && state != State::whole) {
        journal->noteOutput({markOf(descriptor()).value_or(FileMark()), start});
    }
}

void OutputFile::begin() {
    if (state == State::whole) {
        return;
    }
    state = State::open;
    if (target == Target::part) {
        giveName(partNameOf(name));
        isPartKept = true;
    }
    if (isNoted) {
        cutToKept();
    }
}

void OutputFile::goOn() {
    if (state != State::whole) {
        return;
    }
    state = State::open;
    if (target == Target::append) {
        cutToKept();
        return;
    }
    const Descriptor whole(::open(name.c_str(), O_RDONLY | O_CLOEXEC));
    if (!whole.isOpen() || identityOf(whole.get()) != old) {
        throw RunFailure("cannot go on with " + name + ", which is another file now");
    }
    copyBytes(whole.get(), file.get(), kept);
    sync();
    journal->noteOutput({markOf(file.get()).value_or(FileMark()), start});
    journal->commit([] {});
    journal->sync();
    giveName(partNameOf(name));
    isPartKept = true;
}

/// Gives a file without a name one, on the disk too.
void OutputFile::giveName(const std::string& newName) {
    if (temporary.empty()) {
        check(disk.link(file.get(), newName), newName);
        temporary = newName;
    }
    check(disk.syncFolderOf(newName), newName);
}

void OutputFile::giveUniqueName() {
    constexpr int kMostTries = 100;
    int error = EEXIST;
    for (int attempt = 0; temporary.empty() && error == EEXIST && attempt < kMostTries; ++attempt) {
        const std::string unique = uniqueName(name);
        error = disk.link(file.get(), unique);
        if (error == 0) {
            temporary = unique;
            Interruption::removeAtEnd(temporary);
        }
    }
    check(temporary.empty() ? error : 0, name);
}

void OutputFile::cutToKept() const {
    const int error = disk.truncate(descriptor(), kept);
    check(error, name.empty() ? "the standard output" : name);
    static_cast<void>(::lseek(descriptor(), static_cast<off_t>(kept), SEEK_SET));
}

void OutputFile::sync() const {
    if (const int error = disk.sync(descriptor()); error != 0) {
        throw OutputError(error);
    }
}

void OutputFile::finish() {
    if (target == Target::stream) {
        return;
    }
    if (state == State::whole) {
        noteThatItIsWhole();
        return;
    }
    check(disk.sync(descriptor()), name);
    const std::uint64_t size = sizeOf(descriptor());
    if (target != Target::append) {
        refuseToReplaceImage(name);  // one may have come meanwhile
        giveUniqueName();
        // A full disk may tell so only now.
        check(::close(file.release()) == 0 ? 0 : errno, name);
        check(disk.rename(temporary, name), name);
        temporary.clear();
        Interruption::keep();
        check(disk.syncFolderOf(name), name);
    }
    if (journal != nullptr) {
        journal->noteWhole(size);
    }
}

/// The run that gave the output its name may have ended before it could say so.
void OutputFile::noteThatItIsWhole() {
    const auto& whole = journal->whole();
    struct stat status {};
    if (target == Target::part && !(whole && whole->output.mark == markOf(name)) &&
        ::stat(name.c_str(), &status) == 0) {
        journal->noteWhole(static_cast<std::uint64_t>(status.st_size));
    }
}

void OutputFile::check(int error, const std::string& path) const {
    if (error != 0) {
        throw RunFailure("cannot write " + path + ": " + systemErrorText(error));
    }
}

}  // namespace ifdsweep
