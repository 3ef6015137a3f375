#include "cli/quantities.h"

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

using ifdsweep::parseByteCount;
using ifdsweep::parseSeconds;

constexpr std::uint64_t kMost = UINT64_MAX;

TEST(Sizes, AreBytesOrHaveAUnit) {
    const std::pair<const char*, std::uint64_t> rows[] = {
        {"0", 0},
        {"65536", 65536},
        {"007", 7},
        {"18446744073709551615", kMost},
        {"12B", 12},
        {"64k", 65536},
        {"64K", 65536},
        {"64KiB", 65536},
        {"64kib", 65536},
        {"64kB", 64000},
        {"64KB", 64000},
        {"512M", 536870912},
        {"100MB", 100000000},
        {"1GiB", 1073741824},
        {"1GB", 1000000000},
        {"1.5G", 1610612736},
        {"0.5KB", 500},
        {"2T", 2199023255552},
        {"3P", 3377699720527872},
        {"15E", 17293822569102704640U},
        {"18EB", 18000000000000000000U},
        {"18.446744073709551615EB", kMost},
        {"0.0001K", 0},
        {"1.9999K", 2047},
        {"0.3333333333333333333333333333K", 341},
        {"15.9999999999999999999999E", kMost},
    };
    for (const auto& [text, bytes] : rows) {
        EXPECT_EQ(parseByteCount(text), bytes) << text;
    }
}

TEST(Sizes, AreNothingElse) {
    for (const char* const text : {"",
                                   "K",
                                   "KB",
                                   "-1",
                                   "+1",
                                   "1.5",
                                   "1.5B",
                                   ".5K",
                                   "1.K",
                                   "1 K",
                                   " 1",
                                   "1K ",
                                   "1e3",
                                   "0x10",
                                   "1KK",
                                   "1iB",
                                   "1Q",
                                   "1Kb5",
                                   "16E",
                                   "1,5K",
                                   "19EB",
                                   "1ki",
                                   "inf",
                                   "1 GiB",
                                   "1.5.5K",
                                   "unlimited",
                                   "18446744073709551616",
                                   "18446744073709551615K",
                                   "18.446744073709551616EB",
                                   "99999999999999999999999999"}) {
        EXPECT_EQ(parseByteCount(text), std::nullopt) << text;
    }
}

TEST(Times, AreSecondsOrHaveAUnit) {
    const std::pair<const char*, double> rows[] = {
        {"90", 90},    {"0.5", 0.5},      {"1e3", 1000}, {"0x10", 16},  {"0x1d", 29},
        {"90s", 90},   {"500ms", 0.5},    {"10m", 600},  {"2min", 120}, {"1.5h", 5400},
        {"1d", 86400}, {"inf", INFINITY}, {"-1", -1},    {"0s", 0},
    };
    for (const auto& [text, seconds] : rows) {
        EXPECT_EQ(parseSeconds(text), seconds) << text;
    }
}

TEST(Times, AreNothingElse) {
    for (const char* const text : {"", "s", "m", "10M", "10 m", "1h30m", "-1s", "infs", "1e3s",
                                   "0x10s", ".5s", "1.s", "10minutes", " 1s", "1s "}) {
        EXPECT_EQ(parseSeconds(text), std::nullopt) << text;
    }
}

}  // namespace
