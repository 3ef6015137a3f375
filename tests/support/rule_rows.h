#pragma once

// A file on which the contract's reading and the full one differ, or do not: what each makes of it.
// A row is read four ways: through the entry point, by the second way with no rule set, with the
// rule that the row is about alone, and with all of them. Any thread.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/entry_call.h"

namespace fixture {

/// One rule of the reading.
using Rule = bool ifdsweep::ReadingRules::*;

struct RuleRow {
    std::string name;
    Bytes bytes;
    std::vector<std::string> contract;  ///< as `Call::outcome`
    std::vector<std::string> full;
    Numbers numbers{};
};

[[nodiscard]] inline ifdsweep::Reading readingBy(Rule rule) {
    ifdsweep::Reading reading;
    reading.rules.*rule = true;
    return reading;
}

/// Of a row for which it takes several rules.
inline void expectBoth(const RuleRow& row) {
    const auto outcomeOf = [&](const ifdsweep::Reading& reading) {
        return callReading(row.bytes, reading, row.numbers).outcome();
    };
    EXPECT_EQ(callEntryPoint(row.bytes, row.numbers).outcome(), row.contract) << row.name;
    EXPECT_EQ(outcomeOf({}), row.contract) << row.name;
    EXPECT_EQ(outcomeOf(fullReading()), row.full) << row.name;
}

/// @param rule the one that makes the difference
inline void expectBoth(const RuleRow& row, Rule rule) {
    expectBoth(row);
    EXPECT_EQ(callReading(row.bytes, readingBy(rule), row.numbers).outcome(), row.full)
        << row.name << ", by the rule alone";
}

}  // namespace fixture
