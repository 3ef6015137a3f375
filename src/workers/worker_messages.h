#pragma once

// Worker messages: what the main process and a worker say to each other. Each message is a packed
// text: first the setup, then requests; answers come back in the order of the requests. Nobody
// believes what comes: a message that is not whole to the last byte is none.
//
// Ownership: an unpacked answer refers to the bytes of its message. Pure functions; any thread.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "walk/input_file.h"
#include "workers/file_part.h"
#include "workers/file_report.h"
#include "workers/file_task.h"
#include "write/output_choice.h"

namespace ifdsweep {

/// What a worker has to know before its first file. The names of the files that are
/// to be read are no part of it.
struct WorkerSetup {
    std::uint64_t mainProcess = 0;  ///< its id
    std::uint64_t memory = 0;       ///< most bytes of address space
    bool hasStandardInput = false;  ///< whether its bytes come as a file with the setup
    Colour colour = Colour::off;
    TaskOptions task;  ///< how to read and to write
};

/// A file to be read.
struct WorkerRequest {
    std::uint64_t number = 0;
    InputFile file;
};

/// What came of it.
struct UnpackedAnswer {
    std::uint64_t number = 0;
    FileReport report;
    std::string_view bytes;                  ///< the part of the output, when it is not in a file
    std::optional<std::uint64_t> spillSize;  ///< its size when it comes in a file
};

/// No answer is larger: parts of more than FilePart::kMostInMemory come in files.
inline constexpr std::uint64_t kMostAnswerSize = 4 * std::uint64_t{FilePart::kMostInMemory};

/// Messages as they are sent, with their size.
[[nodiscard]] std::string packSetup(const WorkerSetup& setup);
[[nodiscard]] std::string packRequest(std::uint64_t number, const InputFile& file);
[[nodiscard]] std::string packAnswer(std::uint64_t number, const FileReport& report,
                                     const FilePart& part);

/// Messages without their size; nothing for what is none.
[[nodiscard]] std::optional<WorkerSetup> unpackSetup(std::string_view message);
[[nodiscard]] std::optional<WorkerRequest> unpackRequest(std::string_view message);
[[nodiscard]] std::optional<UnpackedAnswer> unpackAnswer(std::string_view message);

}  // namespace ifdsweep
