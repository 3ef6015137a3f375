#pragma once

// The two ways in which the module gives a message, and the exception that carries recovery inside
// it. Stateless; any thread.

#include <stdexcept>
#include <utility>

#include "ifdsweep/qx.h"

/// One tag or one directory could not be decoded; the reader that owns the damage goes on.
class TiffTagsRecoverableError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Both have a frame of their own: a message would make the frames of the readers, which recurse,
// several times as large.

/// Issues a warning with the arguments of its catalogue row; reading goes on.
template <MessageId message, class... Arguments>
[[gnu::noinline]] void warn(Arguments&&... arguments) {
    qxWarningMsgId(Message<message>(std::forward<Arguments>(arguments)...));
}

/// Ends the call with an error. Should the host return, the same message is thrown.
template <MessageId message, class... Arguments>
[[noreturn, gnu::noinline]] void raise(Arguments&&... arguments) {
    const Message<message> error(std::forward<Arguments>(arguments)...);
    qxRaiseError(error);
    throw error;
}
