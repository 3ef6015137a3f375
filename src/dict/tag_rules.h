#pragma once

// The checks of an entry against TIFF 6.0: how many components some tags hold and in which field
// types the well-known tags are stored. Constants; any thread.

#include <cstdint>

#include "ifdsweep/message_catalogue.h"

namespace ifdsweep::module {

/// Checks the component count of a tag that must hold exactly so many; any kind of directory.
/// A wrong count raises the error `badTagDataCount` (id, name, count, required count).
void validate_tag_against_number_of_components(unsigned short id, unsigned long count);

/// How many components a tag must hold, or null when any number will do; any kind of directory.
[[nodiscard]] const std::uint64_t* requiredComponentCount(std::uint16_t id);

/// The field types in which a tag may be stored.
struct FieldTypeRule {
    std::uint32_t accepted;  ///< bit N set: type code N is accepted
    const char* expected;    ///< the accepted types as the warning names them
    MessageId message;       ///< the warning for any other type

    [[nodiscard]] constexpr bool accepts(std::uint32_t dataType) const {
        return dataType < 32 && (accepted >> dataType & 1U) != 0;
    }
};

/// The rule of a tag, or null when any type will do. Only the id decides, not the directory.
[[nodiscard]] const FieldTypeRule* fieldTypeRule(std::uint16_t id);

}  // namespace ifdsweep::module
