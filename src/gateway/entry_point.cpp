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

namespace ifdsweep::module {

namespace {

/// The numbers of a call in the order in which the host gives them.
struct CallNumbers {
    double initialOffset;
    double firstIfdIndex;
    double maxIfdCount;
};

qxArray* read(std::u16string filename, const CallNumbers& numbers, const Reading& reading) {
    std::optional<TagFile> tagFile(
        std::in_place, std::move(filename), toUnsigned64(numbers.initialOffset),
        toUnsigned64(numbers.firstIfdIndex), toUnsigned64(numbers.maxIfdCount), reading);
    try {
        tagFile->readThroughTagFile();
        return tagFile->repackageIfds().release();
    } catch (const boost::numeric::bad_numeric_cast&) {
        // A host need not come back from an error: the file is closed and every value freed by
        // then.
        tagFile.reset();
    }
    raise<MessageId::argumentOutOfBounds>();
}

}  // namespace

}  // namespace ifdsweep::module

namespace ifdsweep {

qxArray* readDirectories(const std::u16string& filename, double initialOffset, double firstIfdIndex,
                         double maxIfdCount, const Reading& reading) {
    return module::read(filename, {initialOffset, firstIfdIndex, maxIfdCount}, reading);
}

}  // namespace ifdsweep

extern "C" __attribute__((visibility("default"))) void qxeFunction(int /*outputCount*/,
                                                                   qxArray** outputs,
                                                                   int /*inputCount*/,
                                                                   const qxArray** inputs) {
    using namespace ifdsweep::module;
    std::u16string filename = qxGetUString(inputs[0]);
    const double initialOffset = qxGetScalar(inputs[1]);
    const double firstIfdIndex = qxGetScalar(inputs[2]);
    const double maxIfdCount = qxGetScalar(inputs[3]);
    outputs[0] = read(std::move(filename), {initialOffset, firstIfdIndex, maxIfdCount}, {});
}
