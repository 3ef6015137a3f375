// The messages between the main process and its workers: whatever the bytes are, they are a message
// to the last byte or none, and a message packed again is the same bytes.

#include <string>
#include <string_view>

#include <fcntl.h>

#include "fuzz_input.h"
#include "fuzz_target.h"
#include "io/packed.h"
#include "workers/worker_messages.h"

namespace {

std::string_view bodyOf(std::string_view message) {
    return message.substr(ifdsweep::packed::kNumberSize);
}

void checkAnswer(std::string_view bytes) {
    const auto answer = ifdsweep::unpackAnswer(bytes);
    if (!answer) {
        return;
    }
    ifdsweep::FilePart part;
    part.bytes = answer->bytes;
    if (answer->spillSize) {
        part.spill.reset(::open("/", O_RDONLY | O_CLOEXEC));
        part.spillSize = *answer->spillSize;
    }
    const std::string again = ifdsweep::packAnswer(answer->number, answer->report, part);
    fuzz::require(bodyOf(again) == bytes, "an answer is the bytes that it was");
}

void checkRequest(std::string_view bytes) {
    const auto request = ifdsweep::unpackRequest(bytes);
    if (request) {
        fuzz::require(bodyOf(ifdsweep::packRequest(request->number, request->file)) == bytes,
                      "a request is the bytes that it was");
    }
}

void checkSetup(std::string_view bytes) {
    const auto setup = ifdsweep::unpackSetup(bytes);
    if (setup) {
        fuzz::require(bodyOf(ifdsweep::packSetup(*setup)) == bytes,
                      "a setup is the bytes that it was");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input(std::span(data, size));
    const auto rest = input.rest();
    const std::string bytes(rest.begin(), rest.end());
    checkAnswer(bytes);
    checkRequest(bytes);
    checkSetup(bytes);
    return 0;
}
