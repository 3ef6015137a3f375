#include "locate/locators.h"

namespace ifdsweep {

Located locateInRaf(ByteReader& /*reader*/, SearchDepth /*depth*/) {
    return {};
}

}  // namespace ifdsweep
