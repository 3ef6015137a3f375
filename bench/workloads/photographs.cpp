#include "workloads/photographs.h"

#include <vector>

namespace bench {
namespace {

constexpr std::uint16_t kFirstPrivateTag = 60000;

fixture::Entry rational(std::uint16_t tag, std::int64_t numerator, std::int64_t denominator) {
    return fixture::numbers(tag, fixture::kRational, {numerator, denominator});
}

fixture::Entry signedRational(std::uint16_t tag, std::int64_t numerator, std::int64_t denominator) {
    return fixture::numbers(tag, fixture::kSRational, {numerator, denominator});
}

fixture::Entry undefined(std::uint16_t tag, const std::string& value) {
    return fixture::ascii(tag, value).withType(fixture::kUndefined);
}

fixture::Entry angle(std::uint16_t tag, std::int64_t degrees, std::int64_t seconds) {
    return fixture::numbers(tag, fixture::kRational, {degrees, 1, 27, 1, seconds, 1000});
}

}  // namespace

fixture::Entry text(std::uint16_t tag, const std::string& value) {
    return fixture::ascii(tag, std::string_view(value.c_str(), value.size() + 1));
}

fixture::Directory page(std::size_t number) {
    constexpr std::int64_t kStrips = 8;
    constexpr std::int64_t kStripBytes = 61440;
    const auto seed = static_cast<std::int64_t>(number % 1000);
    std::vector<std::int64_t> offsets;
    for (std::int64_t strip = 0; strip < kStrips; ++strip) {
        offsets.push_back(4096 + strip * kStripBytes);
    }
    return {
        fixture::longs(254, {0}),
        fixture::shorts(256, {640 + seed}),
        fixture::shorts(257, {256}),
        fixture::shorts(258, {8, 8, 8}),
        fixture::shorts(259, {1}),
        fixture::shorts(262, {2}),
        fixture::shorts(266, {1}),
        text(269, "scan " + std::to_string(number)),
        text(270, "Sheet " + std::to_string(number) + ", seen from the north-west at noon"),
        text(271, "Maker"),
        text(272, "Model " + std::to_string(seed)),
        fixture::longs(273, offsets),
        fixture::shorts(274, {1}),
        fixture::shorts(277, {3}),
        fixture::shorts(278, {32}),
        fixture::longs(279, std::vector<std::int64_t>(kStrips, kStripBytes)),
        rational(282, 300 + seed, 1),
        rational(283, 72009, 1000 + seed),
        fixture::shorts(284, {1}),
        fixture::shorts(296, {2}),
        text(305, "scanner software 4.2"),
        text(306, "2021:06:05 12:34:56"),
        text(315, "A. N. Other"),
        text(33432, "free to use"),
    };
}

fixture::Directory exif(std::size_t number) {
    const auto seed = static_cast<std::int64_t>(number % 1000);
    return {
        rational(33434, 1, 60 + seed),
        rational(33437, 28, 10),
        fixture::shorts(34850, {2}),
        fixture::shorts(34855, {100 + seed}),
        undefined(36864, "0230"),
        text(36867, "2021:06:05 12:34:56"),
        text(36868, "2021:06:05 12:34:56"),
        undefined(37121, {'\1', '\2', '\3', '\0'}),
        rational(37122, 4, 1),
        signedRational(37377, 5907, 1000),
        rational(37378, 2970, 1000),
        signedRational(37379, -120 - seed, 100),
        signedRational(37380, -1, 3),
        rational(37381, 297, 100),
        fixture::shorts(37383, {5}),
        fixture::shorts(37384, {0}),
        fixture::shorts(37385, {16}),
        rational(37386, 35, 1),
        undefined(37500, std::string(64, '\x5A')),
        undefined(37510, std::string("ASCII\0\0\0taken by hand", 21)),
        text(37520, "041"),
        undefined(40960, "0100"),
        fixture::shorts(40961, {1}),
        fixture::longs(40962, {4000 + seed}),
        fixture::longs(40963, {3000}),
        rational(41486, 5728177, 1000),
        rational(41487, 5808403, 1000),
        fixture::shorts(41488, {2}),
        undefined(41729, "\1"),
        fixture::shorts(41986, {0}),
    };
}

fixture::Directory gps(std::size_t number) {
    const auto seed = static_cast<std::int64_t>(number % 60000);
    return {
        fixture::numbers(0, fixture::kByte, {2, 3, 0, 0}),
        text(1, "N"),
        angle(2, 52, seed),
        text(3, "E"),
        angle(4, 13, 59999 - seed),
        fixture::numbers(5, fixture::kByte, {0}),
        rational(6, 3400 + seed, 100),
        fixture::numbers(7, fixture::kRational, {10, 1, 34, 1, 56, 1}),
        text(16, "T"),
        rational(17, 27013, 100),
        text(18, "WGS-84"),
        text(29, "2021:06:05"),
    };
}

fixture::Directory photograph(std::size_t number) {
    fixture::Directory directory = page(number);
    directory.entries.push_back(fixture::pointer(34665, {{exif(number)}}));
    directory.entries.push_back(fixture::pointer(34853, {{gps(number)}}));
    return directory;
}

void fillWithUnknown(fixture::Directory& directory, std::size_t entryCount) {
    for (std::uint16_t tag = kFirstPrivateTag; directory.entries.size() < entryCount; ++tag) {
        directory.entries.push_back(fixture::longs(tag, {tag, tag + 1, tag + 2}));
    }
}

}  // namespace bench
