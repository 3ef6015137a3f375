#include "text/formula_guard.h"

#include <cstddef>
#include <utility>

#include "text/text_decoding.h"

namespace ifdsweep {
namespace {

constexpr std::u32string_view kBeginnings = U"=+-@\uFF1D\uFF0B\uFF0D\uFF20";

/// White space that is no hidden character (Unicode 15.0, White_Space), and quotes.
constexpr std::u32string_view kSkipped =
    U" '\"\u00A0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007\u2008\u2009\u200A\u202F"
    U"\u205F\u3000";

bool isOneOf(char32_t codePoint, std::u32string_view set) {
    return set.find(codePoint) != std::u32string_view::npos;
}

}  // namespace

bool beginsAsFormula(std::string_view text) {
    while (!text.empty()) {
        const Utf8Step step = decodeUtf8(text);
        if (step.length == 0) {
            return false;
        }
        text.remove_prefix(step.length);
        if (!isOneOf(step.codePoint, kSkipped)) {
            return isOneOf(step.codePoint, kBeginnings) && !text.empty();
        }
    }
    return false;
}

void guardFormulas(std::string& text) {
    std::string guarded(beginsAsFormula(text) ? "'" : "");
    std::size_t done = 0;
    for (std::size_t semicolon = text.find(';'); semicolon != std::string::npos;
         semicolon = text.find(';', semicolon + 1)) {
        if (beginsAsFormula(std::string_view(text).substr(semicolon + 1))) {
            guarded.append(text, done, semicolon - done).append("\\x3b");
            done = semicolon + 1;
        }
    }
    if (!guarded.empty()) {
        text = std::move(guarded.append(text, done));
    }
}

}  // namespace ifdsweep
