#include "text/error_stream.h"

#include <new>

#include <unistd.h>

#include "io/output.h"
#include "text/terminal_text.h"

namespace ifdsweep {
namespace {

void writeToErrorStream(std::string_view text) noexcept {
    static_cast<void>(writeBytes(STDERR_FILENO, text));
}

}  // namespace

std::string errorLine(std::initializer_list<std::string_view> parts) {
    StringSink sink;
    Output line(sink);
    line.append("ifdsweep: ");
    for (const std::string_view part : parts) {
        appendTerminalText(line, part);
    }
    line.append('\n');
    line.flush();
    return std::move(sink.text);
}

void printError(std::initializer_list<std::string_view> parts) noexcept {
    try {
        writeToErrorStream(errorLine(parts));
    } catch (const std::bad_alloc&) {
        writeToErrorStream("ifdsweep: out of memory\n");
    }
}

void showProgressLine(std::string_view text) {
    writeToErrorStream("\r\x1b[K" + std::string(text));
}

}  // namespace ifdsweep
