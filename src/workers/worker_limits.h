#pragma once

// Worker limits: what one file may take, in time and memory, when the choice leaves that open,
// and how a process is held to the memory. Pure functions, but for those that ask the system or
// limit the process; any thread.

#include <cstddef>
#include <cstdint>
#include <optional>

namespace ifdsweep {

/// What is asked for.
struct WorkerChoice {
    std::optional<std::uint64_t> jobs;    ///< worker processes; absent: as many as there are cores
    std::optional<double> timeout;        ///< seconds for each file
    std::optional<std::uint64_t> memory;  ///< bytes of address space for each file
};

struct WorkerLimits {
    double timeout = 0;        ///< seconds
    std::uint64_t memory = 0;  ///< bytes of address space
};

/// The most that a file may take of memory by default. No real file meets it: a record of 8 GiB
/// comes from a file of about a gigabyte of tags.
inline constexpr std::uint64_t kMostDefaultMemory = std::uint64_t{8} << 30;

/// The least: however small the machine, files of ordinary size are to be read.
inline constexpr std::uint64_t kLeastDefaultMemory = std::uint64_t{1} << 30;

/// The limits of one file where so many processes read at a time: what the choice says, or
/// defaults that mind the machine.
[[nodiscard]] WorkerLimits workerLimits(const WorkerChoice& choice, std::size_t workers);

/// The default for memory: twice an equal share of what is available, in whole MiB, since large
/// files seldom meet.
/// @param available absent when it is not known
[[nodiscard]] std::uint64_t defaultMemory(std::optional<std::uint64_t> available,
                                          std::size_t workers);

/// The memory that the system could still give, as far as the process's control groups allow;
/// nothing when it does not tell.
[[nodiscard]] std::optional<std::uint64_t> availableMemory();

/// Sets the most address space that the process may have, if it may not have less already. A
/// sanitizer needs terabytes of it, and then nothing is set.
void limitMemory(std::uint64_t bytes);

}  // namespace ifdsweep
