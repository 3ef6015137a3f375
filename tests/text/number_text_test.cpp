#include "text/number_text.h"

#include <array>
#include <charconv>
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

TEST(NumberText, RoundsToSignificantDigits) {
    const auto rounded = [](double value, unsigned digits) {
        std::array<char, ifdsweep::kNumberRoom> room{};
        return std::string(room.data(), ifdsweep::formatRounded(room.data(), value, digits));
    };
    EXPECT_EQ(rounded(1.0 / 3.0, 6), "0.333333");
    EXPECT_EQ(rounded(1.0 / 3.0, 1), "0.3");
    EXPECT_EQ(rounded(1.0 / 3.0, 17), "0.3333333333333333");
    EXPECT_EQ(rounded(0.5, 6), "0.5");
    EXPECT_EQ(rounded(-2.0 / 3.0, 2), "-0.67");
    EXPECT_EQ(rounded(0.1, 16), "0.1");
    EXPECT_EQ(rounded(1.0 / 60000000, 4), "1.667e-08");
    // What stands before the point is never rounded away.
    EXPECT_EQ(rounded(123456789.75, 6), "123456790");
    EXPECT_EQ(rounded(123456789, 6), "123456789");
    EXPECT_EQ(rounded(999999.4, 6), "999999");
    EXPECT_EQ(rounded(999999.5, 6), "1000000");
    EXPECT_EQ(rounded(99999.96, 6), "100000");
    EXPECT_EQ(rounded(-12.5, 1), "-13");
    EXPECT_EQ(rounded(9.7, 1), "10");
    EXPECT_EQ(rounded(0, 6), "0");
    EXPECT_EQ(rounded(-0.0, 6), "-0.0");
    EXPECT_EQ(rounded(1e300, 6), "1e+300");
    EXPECT_EQ(rounded(std::numeric_limits<double>::denorm_min(), 6), "4.94066e-324");
}

TEST(NumberText, ARoundedNumberIsAsNearAsItsDigitsAllow) {
    std::mt19937_64 random(2);
    for (int repetition = 0; repetition < 100000; ++repetition) {
        const auto value = std::bit_cast<double>(random());
        const auto digits = static_cast<unsigned>(1 + random() % ifdsweep::kMostDigits);
        if (std::isfinite(value) && std::abs(value) > 1e-300) {
            std::array<char, ifdsweep::kNumberRoom> room{};
            char* end = ifdsweep::formatRounded(room.data(), value, digits);
            ASSERT_LE(end, room.data() + room.size());
            const std::string text(room.data(), end);
            const double error = std::abs(std::strtod(text.c_str(), nullptr) - value);
            const double bound =
                5 * std::pow(10.0, -1.0 * digits) + 2 * std::numeric_limits<double>::epsilon();
            ASSERT_LE(error, std::abs(value) * bound) << text;
        }
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

/// The shortest digits of a number with a fraction.
std::string shortest(double value) {
    std::array<char, ifdsweep::kNumberRoom> room{};
    return {room.data(), std::to_chars(room.data(), room.data() + room.size(), value).ptr};
}

TEST(NumberText, DecimalsAreTheShortestDigits) {
    std::mt19937_64 random(2);
    double scale = 1;
    for (int decimals = 1; decimals <= 8; ++decimals) {
        scale *= 10;
        for (int repetition = 0; repetition < 40000; ++repetition) {
            // Of every magnitude from one digit to eighteen.
            const std::uint64_t digits = random() >> (4 + repetition % 60);
            const double value = static_cast<double>(digits) / scale;
            if (std::trunc(value) == value) {
                continue;
            }
            for (const double number :
                 {value, -value, std::nextafter(value, 0.0), std::nextafter(value, 1e300)}) {
                ASSERT_EQ(finite(number), shortest(number));
            }
        }
    }
}

TEST(NumberText, DecimalsEndWhereAnExponentIsShorter) {
    for (const double edge : {1e-4, 1e-3, 1e-2, 1e9, 0.0009999999, 999999999.999999, 1e9 + 0.5}) {
        for (const double number : {edge, std::nextafter(edge, 0.0), std::nextafter(edge, 1e300)}) {
            if (std::trunc(number) != number) {
                EXPECT_EQ(finite(number), shortest(number));
            }
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
