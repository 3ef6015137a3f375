#include "scan/file_scan.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <exception>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "scan/packing_reader.h"
#include "walk/input_files.h"

namespace ifdsweep {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostNames = 32;
constexpr std::chrono::milliseconds kShortTime{2};

/// Names that a thread reads one after the other, and what it read of them.
struct Chunk {
    std::deque<PackedFile> files;  ///< those that were not taken yet
    bool isDone = false;
};

InputChoice withoutStandardInput(InputChoice choice) {
    for (std::string& path : choice.paths) {
        if (path == kStandardInput) {
            path.insert(0, "./");
        }
    }
    return choice;
}

ScanOptions checked(ScanOptions options) {
    options.input = withoutStandardInput(std::move(options.input));
    options.threads = std::max(options.threads, 1U);
    options.windowFiles = std::max<std::size_t>(options.windowFiles, 1);
    options.windowBytes = std::max<std::size_t>(options.windowBytes, 1);
    return options;
}

/// Blocks all signals in this thread, and so in those that it starts meanwhile.
class SignalsBlocked {
public:
    SignalsBlocked() noexcept {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before);
    }
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before{};
};

}  // namespace

class FileScan::Parts {
public:
    explicit Parts(ScanOptions scanOptions)
        : options(checked(std::move(scanOptions))), names(options.input, {}) {
        if (!options.isOrdered) {
            chunks.emplace_back();
        }
        start();
    }

    ~Parts() {
        stop();
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;

    Wait next(std::optional<PackedFile>& file, std::uint32_t milliseconds) {
        std::unique_lock guard(lock);
        std::optional<Clock::time_point> deadline;
        for (bool isPatient = true;; isPatient = false) {
            if (const std::optional<Wait> wait = take(file)) {
                return *wait;
            }
            if (!deadline) {
                deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
            }
            const Clock::time_point now = Clock::now();
            if (now >= *deadline) {
                return Wait::timeout;
            }
            consumer = isPatient ? Consumer::patient : Consumer::eager;
            filled.wait_until(guard, isPatient ? std::min(*deadline, now + kShortTime) : *deadline);
            consumer = Consumer::away;
        }
    }

    void stop() noexcept {
        {
            const std::lock_guard guard(lock);
            isStopped = true;
        }
        filled.notify_all();
        emptied.notify_all();
    }

private:
    /// What whoever calls `next` does: something else, or wait, for a whole chunk or for one file.
    enum class Consumer : std::uint8_t { away, patient, eager };

    void start() {
        const SignalsBlocked blocked;
        const std::lock_guard guard(lock);
        threads.reserve(options.threads);
        try {
            while (threads.size() < options.threads) {
                threads.emplace_back([this] { run(); });
                ++running;
            }
        } catch (const std::system_error&) {
            if (threads.empty()) {
                throw;
            }
        }
    }

    void run() noexcept {
        try {
            readChunks();
        } catch (...) {
            const std::lock_guard guard(lock);
            if (!isStopped && failure == nullptr) {
                failure = std::current_exception();
            }
        }
        const std::lock_guard guard(lock);
        --running;
        filled.notify_all();
        emptied.notify_all();
    }

    void readChunks() {
        FileReader read;
        std::vector<InputFile> inputs;
        std::size_t most = 1;
        while (Chunk* chunk = takeNames(inputs, most)) {
            if (!read) {
                read = options.makeReader ? options.makeReader()
                                          : inputReader(std::make_shared<PackingReader>(
                                                options.read, options.fields, &isStopped));
            }
            const Clock::time_point began = Clock::now();
            for (const InputFile& input : inputs) {
                if (!awaitRoom(*chunk)) {
                    return;
                }
                hand(*chunk, read(input));
            }
            end(*chunk);
            most = Clock::now() - began < kShortTime ? std::min(most * 2, kMostNames) : 1;
        }
    }

    /// The names of the next chunk; null when there are no more, or the scan ends.
    Chunk* takeNames(std::vector<InputFile>& inputs, std::size_t most) {
        const std::lock_guard walking(walk);
        inputs.clear();
        if (!awaitChunk()) {
            return nullptr;
        }
        std::optional<Clock::time_point> found;
        while (inputs.size() < most && !names.isAtEnd() && !isStopped) {
            if (std::optional<InputFile> input = names.step()) {
                inputs.push_back(std::move(*input));
                found = found.value_or(Clock::now());
            } else if (found && Clock::now() - *found >= kShortTime) {
                break;  // what follows may be far away
            }
        }
        if (inputs.empty()) {
            return nullptr;
        }
        const std::lock_guard guard(lock);
        return options.isOrdered ? &chunks.emplace_back() : &chunks.front();
    }

    /// Waits until a chunk may be begun: there are no more of them than files in the window.
    bool awaitChunk() {
        return await([this] { return !options.isOrdered || chunks.size() < mostChunks(); });
    }

    /// Waits until a file of a chunk may be begun, and takes room for it.
    bool awaitRoom(const Chunk& chunk) {
        return await([&] {
            const bool isAwaited =
                options.isOrdered && &chunk == &chunks.front() && chunk.files.empty();
            const bool may =
                isAwaited || (aheadFiles < options.windowFiles && aheadBytes < options.windowBytes);
            aheadFiles += may ? 1U : 0U;
            return may;
        });
    }

    template <class Condition>
    bool await(Condition&& condition) {
        std::unique_lock guard(lock);
        while (!isEnding()) {
            if (condition()) {
                return true;
            }
            wakeConsumer();
            ++waiting;
            emptied.wait(guard);
            --waiting;
        }
        return false;
    }

    void hand(Chunk& chunk, PackedFile file) {
        const std::lock_guard guard(lock);
        if (file.file().isImage == 0) {
            --aheadFiles;
            wakeReaders();
            return;
        }
        aheadBytes += file.bytes().size();
        chunk.files.push_back(std::move(file));
        if (consumer == Consumer::eager && &chunk == &chunks.front()) {
            wakeConsumer();
        }
    }

    void end(Chunk& chunk) {
        const std::lock_guard guard(lock);
        chunk.isDone = options.isOrdered;
        if (&chunk == &chunks.front()) {
            wakeConsumer();
        }
    }

    void wakeConsumer() noexcept {
        if (consumer != Consumer::away) {
            consumer = Consumer::away;
            filled.notify_one();
        }
    }

    /// Wakes the threads that wait for room as soon as it is worth it.
    void wakeReaders() noexcept {
        const bool hasRoom = aheadFiles <= options.windowFiles / 2 &&
                             aheadBytes <= options.windowBytes / 2 &&
                             chunks.size() <= mostChunks() / 2;
        const bool isAwaited = options.isOrdered && !chunks.empty() &&
                               chunks.front().files.empty() && !chunks.front().isDone;
        if (waiting > 0 && (hasRoom || isAwaited)) {
            emptied.notify_all();
        }
    }

    /// The next file, or the end; none when there is something to wait for.
    std::optional<Wait> take(std::optional<PackedFile>& file) {
        if (failure != nullptr) {
            isStopped = true;
            std::rethrow_exception(std::exchange(failure, nullptr));
        }
        if (isStopped) {
            return Wait::end;
        }
        while (!chunks.empty() && chunks.front().files.empty() && chunks.front().isDone) {
            chunks.pop_front();
            wakeReaders();
        }
        if (!chunks.empty() && !chunks.front().files.empty()) {
            std::deque<PackedFile>& files = chunks.front().files;
            file.emplace(std::move(files.front()));
            files.pop_front();
            --aheadFiles;
            aheadBytes -= file->bytes().size();
            wakeReaders();
            return Wait::file;
        }
        return running == 0 ? std::optional(Wait::end) : std::nullopt;
    }

    [[nodiscard]] bool isEnding() const noexcept { return isStopped || failure != nullptr; }

    [[nodiscard]] std::size_t mostChunks() const noexcept {
        return options.windowFiles + options.threads;
    }

    const ScanOptions options;

    std::mutex walk;  ///< of the names; taken before the other
    InputFiles names;

    std::mutex lock;  ///< of all that follows
    std::condition_variable filled;
    std::condition_variable emptied;
    std::deque<Chunk> chunks;  ///< in order; one for all, which never ends, where none is asked for
    std::size_t aheadFiles = 0;  ///< read or being read, and not taken
    std::size_t aheadBytes = 0;
    Consumer consumer = Consumer::away;
    unsigned waiting = 0;  ///< threads that wait for room
    unsigned running = 0;
    std::atomic<bool> isStopped = false;  ///< looked at in folders and files too
    std::exception_ptr failure;           ///< until it was thrown

    std::vector<std::thread> threads;  ///< last: ended first
};

FileScan::FileScan(ScanOptions scanOptions)
    : parts(std::make_unique<Parts>(std::move(scanOptions))) {}

FileScan::~FileScan() = default;

FileScan::Wait FileScan::next(std::optional<PackedFile>& file, std::uint32_t milliseconds) {
    return parts->next(file, milliseconds);
}

void FileScan::stop() noexcept {
    parts->stop();
}

}  // namespace ifdsweep
