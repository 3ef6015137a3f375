#include <cstdint>
#include <string>
#include <utility>

#include <boost/numeric/conversion/cast.hpp>

#include "dict/number_conversion.h"
#include "file/tag_file.h"
#include "gateway/messages.h"
#include "gateway/qx.h"

namespace {

/// Reads the file and makes its record. A checked numeric conversion that fails becomes an error
/// of the host; every other exception passes on.
OwnedValue readAndRepackage(TagFile& tagFile) {
    try {
        tagFile.readThroughTagFile();
        return tagFile.repackageIfds();
    } catch (const boost::numeric::bad_numeric_cast&) {
        raise<MessageId::argumentOutOfBounds>();
    }
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void qxeFunction(int /*outputCount*/,
                                                                   qxArray** outputs,
                                                                   int /*inputCount*/,
                                                                   const qxArray** inputs) {
    std::u16string filename = qxGetUString(inputs[0]);
    const std::uint64_t initialOffset = toUnsigned64(qxGetScalar(inputs[1]));
    const std::uint64_t firstIfdIndex = toUnsigned64(qxGetScalar(inputs[2]));
    const std::uint64_t maxIfdCount = toUnsigned64(qxGetScalar(inputs[3]));
    TagFile tagFile(std::move(filename), initialOffset, firstIfdIndex, maxIfdCount);
    outputs[0] = readAndRepackage(tagFile).release();
}
