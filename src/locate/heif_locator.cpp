#include "locate/locators.h"

namespace ifdsweep {

Located locateInHeif(ByteReader& /*reader*/, SearchDepth /*depth*/) {
    return {};
}

}  // namespace ifdsweep
