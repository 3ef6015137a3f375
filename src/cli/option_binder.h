#pragma once

// Option binder: adds options to the parser with the help of their rows in the option table. Most
// runs name one or two of them: an option that the arguments do not begin to name is left out,
// unless the help shows them all.
//
// Ownership: borrows the parser and the arguments; the targets must outlive the parsing. Threads:
// one.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <CLI/App.hpp>

#include "cli/option_table.h"
#include "walk/glob.h"

namespace ifdsweep {

inline constexpr std::string_view kHelpOption = "--help";

/// What a pattern is to choose.
enum class GlobUse : std::uint8_t { files, filesAndFolders };

class OptionBinder {
public:
    OptionBinder(CLI::App& parsedCommand, std::span<const std::string> arguments);

    /// Whether the help is asked for by an argument of its own, whatever else is wrong.
    [[nodiscard]] bool mayShowHelp() const;

    /// An option whose value is stored by `store`, which says whether it took the text.
    template <class Store>
    void value(std::string_view name, std::string_view expected, Store store) {
        if (isNeeded(name)) {
            addValue(optionRow(name), expected, std::move(store));
        }
    }

    /// An option whose values are the words of its row, in the order of the enumeration.
    template <class Value, class Take>
    void wordFor(std::string_view name, Take take) {
        if (isNeeded(name)) {
            const OptionRow& row = optionRow(name);
            addValue(row, listOf(row.words), [&row, take](const std::string& text) {
                const auto place = placeOf(text, row.words);
                if (place) {
                    take(static_cast<Value>(*place));
                }
                return place.has_value();
            });
        }
    }

    template <class Value>
    void word(std::string_view name, Value& target) {
        wordFor<Value>(name, [&target](Value given) { target = given; });
    }

    /// An option whose value is a number of bytes, or the word of its row for no limit.
    void limit(std::string_view name, std::optional<std::uint64_t>& target);

    /// An option with a text that is stored as it is.
    void text(std::string_view name, std::string& target);

    /// An option whose values are patterns.
    void glob(std::string_view name, std::vector<Glob>& targets, LetterCase letters, GlobUse use);

    /// An option without a value.
    template <class Act>
    void flag(std::string_view name, Act act) {
        if (isNeeded(name)) {
            addFlag(optionRow(name), std::move(act));
        }
    }

    template <class Target>
    void flag(std::string_view name, Target& target, Target set) {
        flag(name, [&target, set] { target = set; });
    }

private:
    using TakeText = std::function<bool(const std::string&)>;

    /// "each, count or none" of the words of an option.
    [[nodiscard]] static std::string listOf(std::span<const OptionWord> words);
    [[nodiscard]] static std::optional<std::size_t> placeOf(std::string_view text,
                                                            std::span<const OptionWord> words);
    [[nodiscard]] bool isNeeded(std::string_view name) const;
    void addValue(const OptionRow& row, std::string_view expected, TakeText take);
    void addFlag(const OptionRow& row, std::function<void()> act);

    CLI::App& command;
    std::vector<std::string_view> longOptions;  ///< the arguments that may be one
    std::vector<std::string_view> bundles;      ///< those that may be short ones behind one dash
    bool showsAll = false;
};

/// The names of an option as the parser takes them.
[[nodiscard]] std::string parserNames(const OptionRow& row);

/// Arguments in the reversed order that the parser takes. One such as "[a,b]", which it would take
/// for a list of names, is shielded by a line feed.
[[nodiscard]] std::vector<std::string> shielded(std::vector<std::string> arguments);

/// What was given, of an argument that may be shielded.
[[nodiscard]] std::string unshielded(const std::string& argument);

}  // namespace ifdsweep
