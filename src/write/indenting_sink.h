#pragma once

// Indenting sink: takes JSON without spaces and hands it on with a line for every member and
// element, indented by two spaces a level.
//
// What lies deep is not indented without end: a file can nest 64 directories and have millions of
// values in the innermost, whose lines would be nothing but spaces.
//
// Ownership: borrows its destination. Threads: one at a time.

#include <cstddef>
#include <string_view>

#include "io/output.h"

namespace ifdsweep {

class IndentingSink final : public ByteSink {
public:
    /// @param startDepth levels that the JSON stands in
    IndentingSink(Output& indented, std::size_t startDepth)
        : destination(indented), depth(startDepth) {
        destination.append(2 * depth, ' ');
    }

    void write(std::string_view bytes) override;

private:
    /// Levels that are always indented: a value's elements in a nested directory.
    static constexpr std::size_t kShallow = 8;

    void breakLine();
    void writeOutside(char character);

    Output& destination;
    std::size_t depth;
    std::size_t deepSpaces = std::size_t{2} * 1024 * 1024;  ///< left for the levels below those
    bool inString = false;
    bool escaped = false;  ///< in a string, after a backslash
    bool opened = false;   ///< directly after a bracket or brace
};

}  // namespace ifdsweep
