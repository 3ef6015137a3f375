// The patterns of --include and --exclude: any bytes are a pattern or a complaint. A path matches
// itself with every character escaped, simple patterns match what the C library says, and nothing
// matches below a folder of which that was ruled out.

#include <algorithm>
#include <string>
#include <string_view>

#include <fnmatch.h>

#include "fuzz_input.h"
#include "fuzz_target.h"
#include "walk/glob.h"

namespace {

// The C library takes very long for many stars.
constexpr std::size_t kMostForLibrary = 16;

/// A path as a walk makes one: names between single slashes.
std::string asPath(std::string_view bytes) {
    std::string path;
    for (const char byte : bytes) {
        if (byte != '\0' && (byte != '/' || (!path.empty() && path.back() != '/'))) {
            path += byte;
        }
    }
    while (path.ends_with('/')) {
        path.pop_back();
    }
    return path;
}

void requireMatchesItself(const std::string& path) {
    std::string pattern = "/";
    for (const char byte : path) {
        pattern.append(byte == '/' || byte < 0 ? "" : "\\") += byte;
    }
    fuzz::require(ifdsweep::Glob(pattern).matches(path, false), "a path matches itself escaped");
}

bool isSimple(const std::string& pattern) {
    return pattern.size() <= kMostForLibrary && pattern.find("**") == std::string::npos &&
           !pattern.starts_with('/') && !pattern.ends_with('/') &&
           pattern.find("//") == std::string::npos && pattern.find('/') != std::string::npos &&
           std::all_of(pattern.begin(), pattern.end(), [](char byte) {
               return (byte >= 'a' && byte <= 'z') || byte == '/' || byte == '*' || byte == '?';
           });
}

bool isAscii(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char byte) { return byte > 0; });
}

void requireAgreement(const ifdsweep::Glob& glob, const std::string& pattern,
                      const std::string& path) {
    const bool matches = glob.matches(path, false);
    fuzz::require(!matches || glob.matches(path, true), "a folder matches what a file does");
    for (std::size_t slash = path.find('/'); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        fuzz::require(!glob.matches(path, true) || glob.mayMatchBelow(path.substr(0, slash)),
                      "a path that matches lies below folders where one may");
    }
    if (isSimple(pattern) && isAscii(path)) {
        fuzz::require(matches == (::fnmatch(pattern.c_str(), path.c_str(), FNM_PATHNAME) == 0),
                      "a simple pattern matches what the C library says");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input(std::span(data, size));
    const auto bytes = input.rest();
    const std::string text(bytes.begin(), bytes.end());
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string pattern = text.substr(0, end);
    const std::string path = asPath(std::string_view(text).substr(std::min(end + 1, text.size())));
    if (path.empty()) {
        return 0;
    }
    const std::string bounded = '/' + path + '/';
    if (bounded.find("/./") == std::string::npos && bounded.find("/../") == std::string::npos) {
        requireMatchesItself(path);
    }
    for (const ifdsweep::LetterCase letters :
         {ifdsweep::LetterCase::distinct, ifdsweep::LetterCase::any}) {
        try {
            const ifdsweep::Glob glob(pattern, letters);
            requireAgreement(glob, letters == ifdsweep::LetterCase::any ? "" : pattern, path);
        } catch (const ifdsweep::BadGlob&) {
            return 0;
        }
    }
    return 0;
}
