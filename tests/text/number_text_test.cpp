#include "text/number_text.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace {

std::string finite(double value) {
    std::array<char, ifdsweep::kNumberRoom> room{};
    return {room.data(), ifdsweep::formatFinite(room.data(), value)};
}

TEST(NumberText, WritesShortestDigits) {
    using Limits = std::numeric_limits<double>;
    const std::pair<double, std::string> rows[] = {
        {0.0, "0"},
        {-0.0, "-0.0"},
        {1.0, "1"},
        {-1.0, "-1"},
        {42.0, "42"},
        {100000.0, "100000"},
        {65535.0 / 65535.0, "1"},
        {0.1, "0.1"},
        {-2.5, "-2.5"},
        {1.0 / 3.0, "0.3333333333333333"},
        {0.00001, "1e-05"},
        {4294967295.0, "4294967295"},
        {9007199254740991.0, "9007199254740991"},
        {9007199254740992.0, "9007199254740992"},
        {-9007199254740993.0, "-9007199254740992"},
        {1e19, "1e+19"},
        {1e300, "1e+300"},
        {Limits::max(), "1.7976931348623157e+308"},
        {Limits::lowest(), "-1.7976931348623157e+308"},
        {Limits::min(), "2.2250738585072014e-308"},
        {Limits::denorm_min(), "5e-324"},
    };
    for (const auto& [value, expected] : rows) {
        EXPECT_EQ(finite(value), expected);
    }
}

TEST(NumberText, EveryNumberReadsBackTheSame) {
    std::mt19937_64 random(1);
    for (int repetition = 0; repetition < 200000; ++repetition) {
        const auto value = std::bit_cast<double>(random());
        if (std::isfinite(value)) {
            const std::string text = finite(value);
            ASSERT_LE(text.size(), ifdsweep::kNumberRoom);
            ASSERT_EQ(std::strtod(text.c_str(), nullptr), value) << text;
        }
    }
}

TEST(NumberText, WritesEveryInteger) {
    std::array<char, ifdsweep::kNumberRoom> room{};
    const std::pair<std::int64_t, std::string> rows[] = {{0, "0"},
                                                         {-7, "-7"},
                                                         {INT64_MAX, "9223372036854775807"},
                                                         {INT64_MIN, "-9223372036854775808"}};
    for (const auto& [value, expected] : rows) {
        EXPECT_EQ(std::string(room.data(), ifdsweep::formatInteger(room.data(), value)), expected);
    }
}

TEST(NumberText, NamesWhatIsNotFinite) {
    EXPECT_STREQ(ifdsweep::nonFiniteName(NAN), "NaN");
    EXPECT_STREQ(ifdsweep::nonFiniteName(-NAN), "NaN");
    EXPECT_STREQ(ifdsweep::nonFiniteName(INFINITY), "Infinity");
    EXPECT_STREQ(ifdsweep::nonFiniteName(-INFINITY), "-Infinity");
}

}  // namespace
