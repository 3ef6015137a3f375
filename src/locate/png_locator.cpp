#include "locate/locators.h"

namespace ifdsweep {

Located locateInPng(ByteReader& /*reader*/, SearchDepth /*depth*/) {
    return {};
}

}  // namespace ifdsweep
