#include "columns/message_parts.h"

#include "columns/utf8_text.h"
#include "ifdsweep/messages.h"
#include "pack/unpack.h"

namespace ifdsweep {

std::string messageWords(const PackedFile& file, const PackedMessageRow& message) {
    return utf8OfBytes(messageText(unpackMessage(file, message)));
}

std::span<const PackedArgumentRow> argumentsOf(const PackedFile& file,
                                               const PackedMessageRow& message) noexcept {
    return file.arguments().subspan(message.firstArgument, message.argumentCount);
}

std::string argumentWords(const PackedFile& file, const PackedArgumentRow& argument) {
    switch (argument.kind) {
        case PackedArgumentKind::bytes:
            return utf8OfBytes(file.textOf(argument.text));
        case PackedArgumentKind::units:
            return utf8OfName(file.unitsOf(argument.text));
        case PackedArgumentKind::integer:
            break;
    }
    return std::to_string(argument.integer);
}

}  // namespace ifdsweep
