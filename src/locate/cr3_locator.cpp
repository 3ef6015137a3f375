#include "locate/locators.h"

namespace ifdsweep {

Located locateInCr3(ByteReader& /*reader*/, SearchDepth /*depth*/) {
    return {};
}

}  // namespace ifdsweep
