#include "locate/locators.h"

namespace ifdsweep {

Located locateInJpegXl(ByteReader& /*reader*/, SearchDepth /*depth*/) {
    return {};
}

}  // namespace ifdsweep
