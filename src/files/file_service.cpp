#include "files/file_service.h"

#include <cerrno>
#include <ctime>
#include <limits>
#include <new>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

#include "files/file_bytes.h"
#include "files/file_messages.h"
#include "files/file_names.h"
#include "files/file_stream.h"
#include "files/opened_file.h"
#include "files/read_cache.h"
#include "io/descriptor.h"

namespace ifdsweep {

namespace {

/// A budget without a setting: a base, and so much for each byte of the file.
struct DefaultBudget {
    std::uint64_t base;
    std::uint64_t perByte;

    [[nodiscard]] constexpr std::uint64_t of(std::uint64_t fileSize) const noexcept {
        constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
        return fileSize > (kMost - base) / perByte ? kMost : base + perByte * fileSize;
    }
};

// Room to read every byte several times and for the jumps in small files; a loop ends within
// milliseconds.
constexpr DefaultBudget kReads{std::uint64_t{256} * 1024, 8};

// A byte of a value counts 32 at most, where it becomes a number, and more only in SampleFormat,
// where it becomes a text. So a file whose bytes are all values, each of them its own, has its
// values made whatever its size.
constexpr DefaultBudget kValues{std::uint64_t{64} * 1024 * 1024, 32};

/// What a file's name counts in every record: a unit that may have to be escaped comes to more in
/// the output, and one format has the name twice.
std::uint64_t costOfName(std::u16string_view name) noexcept {
    constexpr std::uint64_t kPlain = 2;
    constexpr std::uint64_t kEscaped = 8;
    std::uint64_t cost = 0;
    for (const char16_t unit : name) {
        const bool isPlain = unit >= 0x20 && unit < 0x7F && unit != u'"' && unit != u'\\';
        cost += isPlain ? kPlain : kEscaped;
    }
    return cost;
}

/// A point of time as microseconds of local time since 1970-01-01 00:00:00.
std::int64_t localMicroseconds(const timespec& time) noexcept {
    std::tm local{};
    std::int64_t seconds = 0;
    std::int64_t microseconds = 0;
    if (::localtime_r(&time.tv_sec, &local) == nullptr ||
        __builtin_add_overflow(time.tv_sec, local.tm_gmtoff, &seconds) ||
        __builtin_mul_overflow(seconds, std::int64_t{1'000'000}, &microseconds) ||
        __builtin_add_overflow(microseconds, time.tv_nsec / 1000, &microseconds)) {
        return qxFileStatus::kNotADateTime;
    }
    return microseconds;
}

/// A point of time as nanoseconds since 1970-01-01 00:00:00 UTC, or the nearest that there is.
std::int64_t nanoseconds(const timespec& time) noexcept {
    using Limits = std::numeric_limits<std::int64_t>;
    std::int64_t result = 0;
    if (__builtin_mul_overflow(time.tv_sec, std::int64_t{1'000'000'000}, &result) ||
        __builtin_add_overflow(result, time.tv_nsec, &result)) {
        return time.tv_sec < 0 ? Limits::min() : Limits::max();
    }
    return result;
}

qxFileStatus statusOf(const struct stat& status) noexcept {
    qxFileStatus result;
    result.type = S_ISREG(status.st_mode)   ? qxFileType::regular
                  : S_ISDIR(status.st_mode) ? qxFileType::directory
                                            : qxFileType::other;
    result.permissions = status.st_mode & 07777U;
    result.timeStamps = {localMicroseconds(status.st_atim), localMicroseconds(status.st_mtim),
                         localMicroseconds(status.st_ctim)};
    result.fileSize = static_cast<std::uint64_t>(status.st_size);
    return result;
}

/// A name with a zero unit inside names no file: the system would see another, shorter name.
bool canExist(const std::u16string& name) noexcept {
    return name.find(u'\0') == std::u16string::npos;
}

bool meansNotFound(int error) noexcept {
    return error == ENOENT || error == ENOTDIR;
}

[[noreturn]] void raiseOpenFailure(const std::u16string& name, int error) {
    if (error == ENOMEM) {
        throw std::bad_alloc();
    }
    qxRaiseError(qxMessage(kOpenFailureId, {qxMessageText(name),
                                            qxMessageText(std::system_category().message(error))}));
    throw std::logic_error("an error that was raised came back");
}

ServedFile served(Descriptor file, const struct stat& status) {
    const qxFileStatus result = statusOf(status);
    return {std::make_shared<const FileBytes>(std::move(file), result.fileSize), result, {}};
}

/// Opens a file of the system; without a source when the path does not exist.
ServedFile openSystemFile(const std::u16string& name) {
    if (!canExist(name)) {
        return {};
    }
    // Not blocking: a pipe that nobody writes to must not stop the call.
    Descriptor file(
        ::open(fileNameToSystem(name).c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!file.isOpen()) {
        if (meansNotFound(errno)) {
            return {};
        }
        raiseOpenFailure(name, errno);
    }
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) {
        raiseOpenFailure(name, errno);
    }
    if (S_ISDIR(status.st_mode)) {
        raiseOpenFailure(name, EISDIR);
    }
    if (!S_ISREG(status.st_mode) && ::lseek(file.get(), 0, SEEK_CUR) < 0) {
        raiseOpenFailure(name, errno);  // a pipe, a terminal: nothing in it has a position
    }
    ServedFile opened = served(std::move(file), status);
    opened.stamp = stampOf(status);
    return opened;
}

}  // namespace

FileStamp stampOf(const struct stat& status) noexcept {
    return {static_cast<std::uint64_t>(status.st_size), nanoseconds(status.st_mtim),
            nanoseconds(status.st_ctim), status.st_ino};
}

ServedFile servedFile(int descriptor) {
    Descriptor file(descriptor);
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) {
        throw std::system_error(errno, std::system_category());
    }
    return served(std::move(file), status);
}

FileService::FileService(ValueBudget& valueBudget) : values(valueBudget) {}
FileService::~FileService() = default;

qxFileStatus plainStatus(std::uint64_t fileSize) noexcept {
    qxFileStatus status;
    status.type = qxFileType::regular;
    status.permissions = 0444;
    status.timeStamps = {0, 0, 0};
    status.fileSize = fileSize;
    return status;
}

void FileService::serve(const std::u16string& name, std::span<const std::uint8_t> bytes) {
    serve(name, ServedFile{std::make_shared<const MemoryBytes>(bytes), plainStatus(bytes.size())});
}

void FileService::serve(const std::u16string& name, ServedFile file) {
    forgetFile();
    served.insert_or_assign(name, std::move(file));
}

void FileService::serveNothing() noexcept {
    forgetFile();
    served.clear();
}

qxFileStatus FileService::status(const std::u16string& name) {
    if (currentFile != nullptr && currentName == name) {
        return currentFile->status();
    }
    if (const auto file = served.find(name); file != served.end()) {
        return file->second.status;
    }
    struct stat status {};
    if (!canExist(name) || ::stat(fileNameToSystem(name).c_str(), &status) != 0) {
        return {};
    }
    return statusOf(status);
}

bool FileService::exists(const std::u16string& name) {
    return status(name).type != qxFileType::notFound;
}

std::FILE* FileService::open(const std::u16string& name, const char* mode) {
    if (const std::string_view asked = mode; asked != "r" && asked != "rb") {
        throw std::invalid_argument("files are opened for reading only");
    }
    std::shared_ptr<OpenedFile> file = opened(name);
    return file == nullptr ? nullptr : openStream(std::move(file));
}

qxMessage readFailedMessage(const ReadFailure& failure) {
    return {kReadFailedId,
            {qxMessageText(std::system_category().message(failure.error)),
             static_cast<std::int64_t>(failure.position)}};
}

template <class Take>
auto FileService::takeFromFiles(Take take) noexcept {
    decltype(take(*currentFile)) taken;
    for (const auto* file : {&formerFile, &currentFile}) {
        if (!taken && *file != nullptr) {
            taken = take(**file);
        }
    }
    return taken;
}

bool FileService::hasSomethingToTell() const noexcept {
    return (formerFile != nullptr && formerFile->hasSomethingToTell()) ||
           (currentFile != nullptr && currentFile->hasSomethingToTell());
}

std::optional<SpentBudget> FileService::takeSpentBudget() noexcept {
    return takeFromFiles([](OpenedFile& file) {
        return file.budget().takeRefusal()
                   ? std::optional(SpentBudget{file.budget().limit(), file.size()})
                   : std::nullopt;
    });
}

std::optional<ReadFailure> FileService::takeReadFailure() noexcept {
    return takeFromFiles([](OpenedFile& file) { return file.takeReadFailure(); });
}

std::uint64_t FileService::countedBytes() const noexcept {
    return currentFile == nullptr ? 0 : currentFile->budget().counted();
}

void FileService::forgetFile() noexcept {
    if (currentFile != nullptr && currentFile->hasSomethingToTell()) {
        formerFile = currentFile;
    }
    values.end();
    currentFile.reset();
    currentStamp.reset();
    currentName.clear();
}

std::shared_ptr<OpenedFile> FileService::opened(const std::u16string& name) {
    if (currentFile != nullptr && currentName == name) {
        return currentFile;
    }
    forgetFile();
    const auto known = served.find(name);
    const ServedFile file = known != served.end() ? known->second : openSystemFile(name);
    if (file.bytes == nullptr) {
        return nullptr;
    }
    if (spareCache == nullptr || spareCache.use_count() > 1) {
        spareCache = std::make_shared<ReadCache>();
    }
    const std::uint64_t size = file.bytes->size();
    currentName = name;
    currentStamp = file.stamp;
    currentFile = std::make_shared<OpenedFile>(
        file.bytes, file.status, spareCache,
        ReadBudget(readBudget.value_or(kReads.of(size)), values), hook);
    values.begin(valueLimit.value_or(kValues.of(size)), size, costOfName(name), memoryBound);
    return currentFile;
}

}  // namespace ifdsweep
