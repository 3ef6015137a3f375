// The RAF locator on any bytes: its raw stream begins as a TIFF stream, and what it reads is in
// proportion to the file.

#include "fuzz_target.h"
#include "locate/locators.h"
#include "locator_properties.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span file(data, size);
    const std::size_t most = 2 * (size / (ifdsweep::ByteReader::kWindow / 16)) + 600;
    const ifdsweep::Located found = fuzz::checkLocator(ifdsweep::locateInRaf, file, most);
    for (const ifdsweep::LocatedStream& stream : found.streams) {
        if (stream.name == "raw") {
            const auto start = file.subspan(stream.extents.front().position);
            fuzz::require(
                start.size() >= 4 && (start[0] == 'I' || start[0] == 'M') && start[0] == start[1],
                "raw data is a TIFF stream");
        }
    }
    return 0;
}
