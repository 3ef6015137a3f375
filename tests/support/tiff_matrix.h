#pragma once

// The four kinds of TIFF file that a test runs over: both layouts in both byte orders. Values only;
// any thread.

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "support/entry_call.h"
#include "support/tiff_builder.h"

namespace fixture {

inline constexpr std::array<Format, 4> kFormats{{
    {Layout::classic, ByteOrder::little},
    {Layout::classic, ByteOrder::big},
    {Layout::big, ByteOrder::little},
    {Layout::big, ByteOrder::big},
}};

/// A gap that is sought over and not read over.
inline constexpr std::size_t kFar = 32;

/// Expected warnings, names and the like.
using Lines = std::vector<std::string>;

/// "ClassicLittle" and so on.
[[nodiscard]] inline std::string nameOf(const Format& format) {
    return std::string(format.isBig() ? "BigTiff" : "Classic") +
           (format.byteOrder == ByteOrder::little ? "Little" : "Big");
}

/// A suite that runs once per format.
class TiffMatrix : public testing::TestWithParam<Format> {
protected:
    [[nodiscard]] static Format format() { return GetParam(); }
    /// @param gap as `TiffBuilder::withGaps`
    [[nodiscard]] static TiffFile fileOf(const Chain& chain, std::size_t gap = 0) {
        TiffBuilder builder(GetParam());
        builder.withGaps(gap);
        for (const Directory& directory : chain) {
            builder.add(directory);
        }
        return builder.build();
    }
    [[nodiscard]] static Call callOf(const Chain& chain, const Numbers& numbers = {}) {
        return callEntryPoint(fileOf(chain).bytes, numbers);
    }
};

/// For test names generated from a suite's parameter.
[[nodiscard]] inline std::string formatName(const testing::TestParamInfo<Format>& info) {
    return nameOf(info.param);
}

}  // namespace fixture

/// Runs a suite derived from `TiffMatrix` over every format.
#define IFDSWEEP_TIFF_MATRIX(Suite)                                                \
    INSTANTIATE_TEST_SUITE_P(Formats, Suite, testing::ValuesIn(fixture::kFormats), \
                             fixture::formatName)
