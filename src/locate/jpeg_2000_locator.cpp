#include "locate/locators.h"

namespace ifdsweep {

Located locateInJpeg2000(ByteReader& /*reader*/, SearchDepth /*depth*/) {
    return {};
}

}  // namespace ifdsweep
