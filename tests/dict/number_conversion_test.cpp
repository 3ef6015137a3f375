// Conversions of doubles to integers, defined for every double.

#include "dict/number_conversion.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

namespace fixture {
namespace {

using namespace ifdsweep::module;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kTwo63 = 9223372036854775808.0;
constexpr std::uint64_t kTopBit = std::uint64_t{1} << 63U;

TEST(NumberConversion, GatewayNumbersAreTruncatedOverTheWholeRange) {
    const std::vector<std::pair<double, std::uint64_t>> cases{
        {0, 0},
        {-0.0, 0},
        {0.999, 0},
        {2.9, 2},
        {2251799813685249.5, 2251799813685249},
        {kTwo63 - 1024, 9223372036854774784U},
        {kTwo63, kTopBit},
        {kTwo63 + 2048, kTopBit + 2048},
        {1e19, 10000000000000000000U},
        {2 * kTwo63 - 2048, ~std::uint64_t{0} - 2047},
        {2 * kTwo63, kTopBit},
        {1e300, kTopBit},
        {kInfinity, kTopBit},
        {-kInfinity, kTopBit},
        {kNan, kTopBit},
        {-0.9, 0},
        {-1, ~std::uint64_t{0}},
        {-1.9, ~std::uint64_t{0}},
        {-2, ~std::uint64_t{0} - 1},
        {-kTwo63, kTopBit},
        {-kTwo63 + 1024, kTopBit + 1024},
        {-kTwo63 - 2048, kTopBit},
        {-1e300, kTopBit},
    };
    for (const auto& [value, expected] : cases) {
        EXPECT_EQ(toUnsigned64(value), expected) << value;
    }
}

}  // namespace
}  // namespace fixture
