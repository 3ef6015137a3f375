#pragma once

// Takes output and forgets it, to measure writers without what they write to. No state.

#include <string_view>

#include "io/output.h"

namespace bench {

class NoSink final : public ifdsweep::ByteSink {
public:
    void write(std::string_view /*bytes*/) override {}
};

}  // namespace bench
