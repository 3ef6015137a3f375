#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include <boost/numeric/conversion/cast.hpp>

#include "adapter/messages.h"
#include "dict/number_conversion.h"
#include "file/tag_file.h"
#include "ifdsweep/qx.h"

extern "C" __attribute__((visibility("default"))) void qxeFunction(int /*outputCount*/,
                                                                   qxArray** outputs,
                                                                   int /*inputCount*/,
                                                                   const qxArray** inputs) {
    using namespace ifdsweep::module;
    std::u16string filename = qxGetUString(inputs[0]);
    const std::uint64_t initialOffset = toUnsigned64(qxGetScalar(inputs[1]));
    const std::uint64_t firstIfdIndex = toUnsigned64(qxGetScalar(inputs[2]));
    const std::uint64_t maxIfdCount = toUnsigned64(qxGetScalar(inputs[3]));
    std::optional<TagFile> tagFile(std::in_place, std::move(filename), initialOffset, firstIfdIndex,
                                   maxIfdCount);
    bool isOutOfBounds = false;
    try {
        tagFile->readThroughTagFile();
        outputs[0] = tagFile->repackageIfds().release();
    } catch (const boost::numeric::bad_numeric_cast&) {
        isOutOfBounds = true;
    }
    // A host need not come back from an error: the file is closed and every value freed by then.
    tagFile.reset();
    if (isOutOfBounds) {
        raise<ifdsweep::MessageId::argumentOutOfBounds>();
    }
}
