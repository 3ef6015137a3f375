#pragma once

// The messages of the catalogues, how an error is raised, and the exception that carries recovery
// inside the module. Warnings are given by the stream (stream/tiff_stream.h), which knows where.
// Stateless; any thread.

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "ifdsweep/message_catalogue.h"
#include "ifdsweep/qx.h"

namespace ifdsweep::module {

/// One class per message: it knows its identifier and takes exactly the arguments of its row.
template <auto message>
class Message : public qxMessage {
public:
    template <class... Arguments>
    explicit Message(Arguments&&... messageArguments)
        : qxMessage(messageRow(message).id, list(std::forward<Arguments>(messageArguments)...)) {
        static_assert(messageRow(message).message == message, "catalogue rows are in enum order");
        static_assert(kindsMatch<Arguments...>(messageRow(message).arguments),
                      "arguments differ in number or kind from the catalogue row");
    }

private:
    template <class... Arguments>
    static consteval bool kindsMatch(std::string_view kinds) {
        constexpr std::array<char, sizeof...(Arguments)> given{
            (std::is_integral_v<std::remove_cvref_t<Arguments>> ? 'i' : 't')...};
        return kinds == std::string_view(given.data(), given.size());
    }

    template <class Argument>
    static qxMessageArgument convert(Argument&& argument) {
        if constexpr (std::is_integral_v<std::remove_cvref_t<Argument>>) {
            return static_cast<std::int64_t>(argument);
        } else if constexpr (std::is_convertible_v<Argument, std::u16string_view>) {
            return qxMessageText(std::u16string(std::forward<Argument>(argument)));
        } else {
            return qxMessageText(std::string(std::forward<Argument>(argument)));
        }
    }

    template <class... Arguments>
    static std::vector<qxMessageArgument> list(Arguments&&... messageArguments) {
        std::vector<qxMessageArgument> result;
        result.reserve(sizeof...(Arguments));
        (result.push_back(convert(std::forward<Arguments>(messageArguments))), ...);
        return result;
    }
};

/// One tag or one directory could not be decoded; the reader that owns the damage goes on.
class TiffTagsRecoverableError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Ends the call with an error. Should the host return, the same message is thrown. It has a frame
/// of its own: a message would make the frames of the readers, which recurse, several times as
/// large.
template <MessageId message, class... Arguments>
[[noreturn, gnu::noinline]] void raise(Arguments&&... arguments) {
    const Message<message> error(std::forward<Arguments>(arguments)...);
    qxRaiseError(error);
    throw error;
}

}  // namespace ifdsweep::module
