#include "io/terminal.h"

#include <sys/ioctl.h>

namespace ifdsweep {

std::optional<std::size_t> terminalColumns(int descriptor) noexcept {
    winsize size{};
    const bool isKnown = ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? std::optional<std::size_t>(size.ws_col) : std::nullopt;
}

}  // namespace ifdsweep
