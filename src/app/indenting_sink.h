#pragma once

// Indenting sink: takes JSON without spaces and hands it on with a line for every member and
// element, indented by two spaces a level.
//
// Ownership: borrows its destination. Threads: one at a time.

#include <cstddef>
#include <string_view>

#include "app/output.h"

namespace app {

class IndentingSink final : public ByteSink {
public:
    /// @param startDepth levels that the JSON stands in
    IndentingSink(Output& indented, std::size_t startDepth)
        : destination(indented), depth(startDepth) {
        destination.append(2 * depth, ' ');
    }

    void write(std::string_view bytes) override;

private:
    void breakLine();
    void writeOutside(char character);

    Output& destination;
    std::size_t depth;
    bool inString = false;
    bool escaped = false;  ///< in a string, behind a backslash
    bool opened = false;   ///< directly behind a bracket or brace
};

}  // namespace app
