#pragma once

// Text writer: records for people. A heading per file, one per TIFF stream where there are several,
// what carries it, the fields of the file once, a heading per directory, names and values aligned,
// nested directories indented below their name, long values cut short with their size, and the
// warnings after the file that they belong to. Fields without a value are left out, equal
// directories and warnings of one kind folded (directory_folding.h, warning_folding.h). Everything
// that comes from a file is escaped (see terminal_text.h).
//
// Ownership: borrows its output. Threads: one at a time.

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "ifdsweep/entry_sink.h"
#include "values/value.h"
#include "write/directory_folding.h"
#include "write/line_wrapper.h"
#include "write/result_writer.h"
#include "write/text_value.h"

namespace ifdsweep {

class TextWriter final : public ResultWriter {
public:
    /// @param lineWrapper what the destination's bytes go to, when it breaks lines
    TextWriter(Output& destination, const WriteOptions& options,
               LineWrapper* lineWrapper = nullptr);

    /// A file without a result is shown only when there are warnings, or other streams: its error
    /// is told elsewhere.
    [[nodiscard]] bool shows(const Outcome& outcome) const override;
    void writeFile(const Outcome& outcome) override;

private:
    enum class Style : std::uint8_t { file, directory, name, warning };

    /// Whether a field is among those that are asked for.
    [[nodiscard]] bool isAsked(std::string_view name) const;
    /// Whether a field is, or anything in the directories that it holds.
    [[nodiscard]] bool holdsAsked(std::string_view name, const Value& value) const;

    void appendStyled(Style style, std::string_view text);
    void appendStreamHeading(const Outcome& file, const StreamOrigin& stream, std::size_t number);
    void appendStream(const Outcome& stream, bool isOnly);
    /// What carries the stream at hand, for people; empty for nothing that is to be shown.
    [[nodiscard]] std::string containerText(bool isOnly) const;
    void appendName(std::string_view name, std::size_t nameWidth, std::size_t depth);
    void appendFileFields(const Value* records, const std::string& container);
    void appendRecords(const Value& records, const std::string& path, std::size_t depth);
    void beginHeading(std::size_t depth);
    void appendFolded(const ChainPart& part, const std::string& path);
    void appendDirectory(const Value& records, std::size_t element, const std::string& path,
                         std::size_t depth);
    void appendNested(std::string_view name, const Value& value, const std::string& path,
                      std::size_t depth);
    void appendField(const Value& records, std::size_t element, std::string_view name,
                     const Value& value, std::size_t nameWidth, std::size_t depth);
    void appendUnknownTags(const Value& tags, DirectoryKind kind, std::size_t depth);
    void appendWarnings(const std::vector<Warning>& warnings);
    void appendWarningCount(const WarningCount& warning);
    void appendMessage(std::string_view kind, const qxMessage& message, const WarningPlace& place);
    void appendHint();
    /// Real files do not nest so deep; one that nests 64 directories is not all spaces.
    static constexpr std::size_t kDeepest = 16;

    /// The value that follows has continuation lines below its beginning.
    void beginValue();

    void indent(std::size_t depth) { output.append(2 * std::min(depth, kDeepest), ' '); }

    LineWrapper* wrapper;  ///< null: lines are as long as they are
    Colour colour;
    TextLimits limits;
    std::vector<std::string> asked;  ///< fields; empty: all
    bool isWhole = false;            ///< the directories at hand are asked for as a field
    bool foldsNothing;
    Placement placement;
    StreamOrigin origin;       ///< of the stream that is written
    DirectoryFolding folding;  ///< of that stream
    bool hasFolded = false;    ///< something of the file that is written
};

/// The same for a terminal of so many columns.
class WrappedTextWriter final : public ResultWriter {
public:
    WrappedTextWriter(Output& destination, const WriteOptions& options)
        : ResultWriter(destination),
          wrapper(destination, options.lineWidth),
          lines(wrapper),
          writer(lines, options, &wrapper) {}

    [[nodiscard]] bool shows(const Outcome& outcome) const override {
        return writer.shows(outcome);
    }
    void writeFile(const Outcome& outcome) override;

private:
    LineWrapper wrapper;
    Output lines;
    TextWriter writer;
};

}  // namespace ifdsweep
