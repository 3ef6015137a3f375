// Numbers and texts packed into bytes: what comes back, and what bytes that are cut or wrong give.

#include "io/packed.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

namespace packed = ifdsweep::packed;

TEST(Packed, ComesBack) {
    std::string bytes;
    packed::putNumber(bytes, 0);
    packed::putText(bytes, std::string_view("a\0b", 3));
    packed::putNumber(bytes, ~std::uint64_t{0});
    packed::putText(bytes, "");
    ifdsweep::Unpacker rest(bytes);
    EXPECT_EQ(rest.number(), 0U);
    EXPECT_EQ(rest.text(), std::string_view("a\0b", 3));
    EXPECT_EQ(rest.number(), ~std::uint64_t{0});
    EXPECT_FALSE(rest.isWhole());
    EXPECT_EQ(rest.text(), "");
    EXPECT_TRUE(rest.isWhole());
}

TEST(Packed, NothingFollowsAFailure) {
    std::string bytes;
    packed::putNumber(bytes, 2);
    packed::putNumber(bytes, 7);
    ifdsweep::Unpacker numbers(bytes);
    EXPECT_FALSE(numbers.flag());  // 2 is neither
    EXPECT_TRUE(numbers.hasFailed());
    EXPECT_EQ(numbers.number(), 0U);
    EXPECT_EQ(numbers.text(), "");
    EXPECT_FALSE(numbers.isWhole());
    ifdsweep::Unpacker bounded(bytes);
    EXPECT_EQ(bounded.number(2), 2U);
    EXPECT_EQ(bounded.number(6), 0U);
    EXPECT_TRUE(bounded.hasFailed());
    ifdsweep::Unpacker beyond("");
    EXPECT_EQ(beyond.number(), 0U);
    EXPECT_TRUE(beyond.hasFailed());
}

TEST(Packed, ATextIsTakenWholeOrNotAtAll) {
    std::string bytes;
    packed::putText(bytes, "text");
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        std::string_view rest(bytes.data(), size);
        std::string_view text = "as before";
        EXPECT_FALSE(packed::takeWholeText(rest, text)) << size;
        EXPECT_EQ(rest.size(), size);
        EXPECT_EQ(text, "as before");
    }
    std::string huge;
    packed::putNumber(huge, ~std::uint64_t{0});
    std::string_view rest = huge;
    std::string_view text;
    EXPECT_FALSE(packed::takeWholeText(rest, text));
    rest = bytes;
    EXPECT_TRUE(packed::takeWholeText(rest, text));
    EXPECT_EQ(text, "text");
    EXPECT_TRUE(rest.empty());
}

}  // namespace
