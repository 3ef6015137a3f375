#include "locate/locators.h"

namespace ifdsweep {

Located locateInPsd(ByteReader& /*reader*/, SearchDepth /*depth*/) {
    return {};
}

}  // namespace ifdsweep
