#pragma once

// Column names: the columns of a table in the order in which they were first named.
//
// Plain value; one thread at a time.

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ifdsweep {

class ColumnNames {
public:
    /// The place of a column, which is a new one at the end if it has none.
    std::size_t placeOf(std::string_view name) {
        const auto known = places.find(name);
        if (known != places.end()) {
            return known->second;
        }
        const std::size_t place = names.size();
        places.emplace(name, place);
        names.emplace_back(name);
        return place;
    }

    /// The place of a column, if it has one.
    [[nodiscard]] std::optional<std::size_t> find(std::string_view name) const {
        const auto known = places.find(name);
        return known == places.end() ? std::nullopt : std::optional(known->second);
    }

    [[nodiscard]] const std::vector<std::string>& all() const noexcept { return names; }

private:
    std::vector<std::string> names;
    std::map<std::string, std::size_t, std::less<>> places;
};

}  // namespace ifdsweep
