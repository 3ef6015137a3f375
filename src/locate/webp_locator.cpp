#include "locate/locators.h"

namespace ifdsweep {

Located locateInWebp(ByteReader& /*reader*/, SearchDepth /*depth*/) {
    return {};
}

}  // namespace ifdsweep
