#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include <boost/numeric/conversion/cast.hpp>

#include "adapter/messages.h"
#include "dict/number_conversion.h"
#include "file/tag_file.h"
#include "ifdsweep/qx.h"
#include "ifdsweep/reading.h"

namespace ifdsweep {

qxArray* readDirectories(std::u16string filename, double initialOffset, double firstIfdIndex,
                         double maxIfdCount, const Reading& reading) {
    using module::toUnsigned64;
    std::optional<module::TagFile> tagFile(std::in_place, std::move(filename),
                                           toUnsigned64(initialOffset), toUnsigned64(firstIfdIndex),
                                           toUnsigned64(maxIfdCount), reading);
    try {
        tagFile->readThroughTagFile();
        return tagFile->repackageIfds().release();
    } catch (const boost::numeric::bad_numeric_cast&) {
        // A host need not come back from an error: the file is closed and every value freed by
        // then.
        tagFile.reset();
    }
    module::raise<MessageId::argumentOutOfBounds>();
}

}  // namespace ifdsweep

extern "C" __attribute__((visibility("default"))) void qxeFunction(int /*outputCount*/,
                                                                   qxArray** outputs,
                                                                   int /*inputCount*/,
                                                                   const qxArray** inputs) {
    std::u16string filename = qxGetUString(inputs[0]);
    const double initialOffset = qxGetScalar(inputs[1]);
    const double firstIfdIndex = qxGetScalar(inputs[2]);
    const double maxIfdCount = qxGetScalar(inputs[3]);
    outputs[0] = ifdsweep::readDirectories(std::move(filename), initialOffset, firstIfdIndex,
                                           maxIfdCount, {});
}
