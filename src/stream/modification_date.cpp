// The modification time of a file as its records show it.

#include <array>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <optional>

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>

#include "stream/tiff_stream.h"

namespace ifdsweep::module {

namespace {

/// A time stamp: microseconds since 1970. The range is that of 64 bits, some 292,000 years either
/// way, so that sums with a calendar's own epoch may overflow: years are compared first.
using TimeStamp = std::chrono::sys_time<std::chrono::microseconds>;

/// Whether a time stamp lies in the years from `first` to `last`.
bool isWithin(TimeStamp time, std::chrono::year first, std::chrono::year last) {
    const std::chrono::sys_days begin = first / std::chrono::January / 1;
    const std::chrono::sys_days end = last / std::chrono::December / 31;
    return time >= begin && time < end + std::chrono::days(1);
}

std::tm brokenDown(int year, int month, int day, std::int64_t hours, std::int64_t minutes,
                   std::int64_t seconds) {
    std::tm result{};
    result.tm_year = year - 1900;
    result.tm_mon = month - 1;
    result.tm_mday = day;
    result.tm_hour = static_cast<int>(hours);
    result.tm_min = static_cast<int>(minutes);
    result.tm_sec = static_cast<int>(seconds);
    result.tm_isdst = -1;
    return result;
}

std::tm byBoost(TimeStamp time) {
    const boost::posix_time::ptime moment(
        boost::gregorian::date(1970, 1, 1),
        boost::posix_time::microseconds(time.time_since_epoch().count()));
    const boost::gregorian::date::ymd_type date = moment.date().year_month_day();
    const boost::posix_time::time_duration clock = moment.time_of_day();
    return brokenDown(date.year, date.month, date.day, clock.hours(), clock.minutes(),
                      clock.seconds());
}

std::tm byChrono(TimeStamp time) {
    const auto midnight = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(midnight);
    const std::chrono::hh_mm_ss clock(std::chrono::floor<std::chrono::seconds>(time - midnight));
    return brokenDown(static_cast<int>(date.year()),
                      static_cast<int>(static_cast<unsigned>(date.month())),
                      static_cast<int>(static_cast<unsigned>(date.day())), clock.hours().count(),
                      clock.minutes().count(), clock.seconds().count());
}

/// Calendar date and time of day, or nothing where no calendar reaches, as in the time stamp that
/// is none.
std::optional<std::tm> brokenDown(TimeStamp time) {
    using std::chrono::year;
    if (isWithin(time, year(1400), year(9999))) {  // the years of Boost's calendar
        return byBoost(time);
    }
    if (isWithin(time, year::min(), year::max())) {
        return byChrono(time);
    }
    return std::nullopt;
}

}  // namespace

const std::string& TiffStream::modificationDate() {
    if (!formattedDate) {
        formattedDate.emplace();
        std::array<char, 25> text{};
        const TimeStamp modified{std::chrono::microseconds(fileStatus.timeStamps[1])};
        if (const auto time = brokenDown(modified)) {
            formattedDate->assign(
                text.data(), std::strftime(text.data(), text.size(), "%d-%b-%Y %H:%M:%S", &*time));
        }
    }
    return *formattedDate;
}

}  // namespace ifdsweep::module
