#include "app/error_stream.h"

#include <unistd.h>

#include "app/output.h"
#include "app/terminal_text.h"

namespace app {
namespace {

template <class Append>
void writeToErrorStream(Append&& append) {
    try {
        FileDescriptorSink sink(STDERR_FILENO);
        Output errors(sink);
        append(errors);
        errors.flush();
    } catch (const OutputError&) {
        return;
    }
}

}  // namespace

void printError(std::initializer_list<std::string_view> parts) {
    writeToErrorStream([&](Output& errors) {
        errors.append("ifdsweep: ");
        for (const std::string_view part : parts) {
            appendTerminalText(errors, part);
        }
        errors.append('\n');
    });
}

void showProgressLine(std::string_view text) {
    writeToErrorStream([&](Output& errors) {
        errors.append("\r\x1b[K");
        errors.append(text);
    });
}

}  // namespace app
