#include "host/message_texts.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "files/file_names.h"
#include "ifdsweep/message_catalogue.h"

namespace ifdsweep {

namespace {

/// The row of a message of the reading's own, with the arguments that it is given with.
constexpr MessageTextRow readingRow(ReadingMessageId message, std::string_view text,
                                    std::string_view explanation, std::string_view advice) {
    const ReadingMessageRow& row = messageRow(message);
    return {row.id, row.arguments, text, explanation, advice};
}

// clang-format off
constexpr std::array<MessageTextRow, 40> kMessageTexts{{
    {"Velmora:pixlore:ifdsweep:statFailure", "",
     "the file does not exist",
     "No file has this name, or it is a link that leads nowhere.",
     "Check the path, and the folder that it starts from."},
    {"Velmora:pixlore:ifdsweep:unableToReadTagData", "",
     "no directory could be read; the warnings say why",
     "The first directory was given up, so there is nothing to show. The warnings before this error name the damage.",
     "Look at the warnings, which --explain explains. As a rule the file was cut short or damaged: compare it with another copy."},
    {"Velmora:pixlore:ifdsweep:tiffHeaderReadFailure", "",
     "the file ends inside the TIFF header",
     "The file is shorter than a TIFF header (8 bytes, 16 in a BigTIFF file) at the position where the header was looked for.",
     "Check that the file was copied whole, or the --offset that was given."},
    {"Velmora:pixlore:ifdsweep:badEndianness", "iit",
     "the TIFF header begins with the bytes {1} and {2}, expected 73 73 (\"II\") or 77 77 (\"MM\")",
     "There is no TIFF header at the position where it was looked for. Arguments: the first byte, the second byte, the file's name.",
     "If the file is of another kind, as what was found says, leave it out. If a TIFF stream begins elsewhere in it, give its --offset."},
    {"Velmora:pixlore:ifdsweep:badTiffIfdOffset", "ii",
     "the first directory is at position {1}, past the end of the file at {2}",
     "The header points behind the end of the file. Arguments: the position, the file's size. As a rule the file was cut short.",
     "Copy the file again and compare the sizes; if a TIFF stream begins elsewhere in it, give its --offset."},
    {"Velmora:pixlore:ifdsweep:badTiffHeaderIfdOffset", "",
     "the file cannot be positioned at a directory that the header leads to",
     "The position of the first directory, or of one to be skipped, cannot be reached: the offset is damaged.",
     "With --first, skip fewer directories. Otherwise compare the file with another copy of it."},
    {"Velmora:pixlore:ifdsweep:badNextIfdPointerSeek", "",
     "the file cannot be positioned at the next directory or at the pointer to it",
     "The chain of directories ends here. The directories before it were read.",
     "Compare the file with another copy of it if directories are missing."},
    {"Velmora:pixlore:ifdsweep:nextIfdPointerOutOfRange", "i",
     "the next directory is at position {1}, at or past the end of the file",
     "The pointer to the next directory is damaged or the file was cut short. Argument: the position. The directories before it were read.",
     "Check that the file was copied whole. Some programs write such a pointer in the last directory: if none is missing, leave the warning out with --ignore."},
    {"Velmora:pixlore:ifdsweep:nextIfdOffsetReadError", "i",
     "the pointer to the next directory, at position {1}, cannot be read",
     "The file ends inside the pointer, or the read budget is spent. Argument: the pointer's position. The directories before it were read.",
     "Check that the file was copied whole; with readBudgetSpent beside it, see there."},
    {"Velmora:pixlore:ifdsweep:numberOfDirectoryEntriesReadError", "i",
     "the entry count of the directory at position {1} cannot be read",
     "The file ends inside the count, or the read budget is spent. Argument: the count's position. The directories before it were read.",
     "Check that the file was copied whole; with readBudgetSpent beside it, see there."},
    {"Velmora:pixlore:ifdsweep:numDirectoryEntriesIsZero", "i",
     "the directory at position {1} has 0 entries, expected at least 1",
     "A directory must have an entry. Argument: the directory's position. Its chain ends here; the directories before it were read.",
     "Compare the file with another copy of it if directories are missing; otherwise there is nothing to do."},
    {"Velmora:pixlore:ifdsweep:jpegApp1MaximumLengthExceeded", "i",
     "the directory has {1} entries, more than an APP1 segment of a JPEG file can hold",
     "The entries of a directory in a JPEG file must lie inside one segment of 64 KiB. Argument: the entry count, which is damaged.",
     "Compare the file with another copy of it. With --reading full, the directories before the damage are shown."},
    {"Velmora:pixlore:ifdsweep:badIFDread", "t",
     "the file ends inside the entries of {1}",
     "A directory's table could not be read. In a full reading it costs the file only when it is the first. Argument: the directory. As a rule the file was cut short or the entry count is damaged.",
     "Check that the file was copied whole. With --reading full, the directories before the damage are shown."},
    {"Velmora:pixlore:ifdsweep:strftimeFailure", "",
     "the modification date of the file cannot be formatted",
     "The file system reports a date that cannot be written as text.",
     "Set the file's modification time anew, for example with touch."},
    {"Velmora:pixlore:ifdsweep:zeroComponentCount", "t",
     "tag \"{1}\" has 0 components, expected at least 1",
     "The entry has no value. Argument: the tag's name, empty for an unknown tag.",
     "Nothing is lost but that value. Tell the author of the program that wrote the file."},
    {"Velmora:pixlore:ifdsweep:noTypeFormatId", "t",
     "tag \"{1}\" has field type 0, expected 1 to 13 or 16 to 18",
     "The entry has no field type, so its value cannot be read; it is left out. Argument: the tag's name, empty for an unknown tag.",
     "--format facts shows where the entry stands. Compare the file with another copy of it."},
    {"Velmora:pixlore:ifdsweep:unrecognizedTagFormatId", "i",
     "field type {1} is unknown, expected 1 to 13 or 16 to 18",
     "The value of an entry of this field type cannot be read; it is left out. Argument: the field type.",
     "--format facts shows where the entry stands. Compare the file with another copy of it."},
    {"Velmora:pixlore:ifdsweep:unrecognizedTagId", "i",
     "tag {1} has no default value",
     "A default was asked for a tag that has none. Argument: the tag's number.",
     "Please report the file: no file should lead to this."},
    {"Velmora:pixlore:ifdsweep:tagDataPastEOF", "ii",
     "the value of tag {1}, {2} bytes, reaches past the end of the file",
     "The entry's offset or count is damaged, or the file was cut short; the entry is left out. Arguments: the tag's number, the size of the value in bytes.",
     "Check that the file was copied whole; --format facts shows where the entry points to."},
    {"Velmora:pixlore:ifdsweep:badTagDataOffsetSeek", "i",
     "the file cannot be positioned at the value of tag {1}",
     "The entry's offset is damaged; the entry is left out. Argument: the tag's number.",
     "--format facts shows where the entry points to. Compare the file with another copy of it."},
    {"Velmora:pixlore:ifdsweep:unableToReadTiffTag", "ti",
     "the value of tag \"{1}\" at position {2} cannot be read in full",
     "The file could not deliver the value, or the read budget is spent; the entry is left out. Arguments: the tag's name, or its number when it has none; the position of the value.",
     "With readBudgetSpent or readFailed beside it, see there. Otherwise check that the file was copied whole."},
    {"Velmora:pixlore:ifdsweep:unrecognizedIfd", "i",
     "tag {1} has the field type of a directory pointer and is none",
     "Only the tags that lead to directories may have the types IFD and IFD8; the entry is left out. Argument: the tag's number.",
     "Nothing is lost but that entry. Tell the author of the program that wrote the file."},
    {"Velmora:pixlore:ifdsweep:badTagValueDivisionByZero", "t",
     "a rational number of tag \"{1}\" has the denominator 0",
     "The number is shown as not-a-number. Argument: the tag's name, empty for an unknown tag.",
     "Many cameras write 0/0 for what they do not know: as a rule there is nothing to do, and --ignore leaves the warning out."},
    {"Velmora:pixlore:ifdsweep:badSubIfdSeek", "i",
     "the file cannot be positioned at the nested directory at {1}",
     "The pointer to a nested directory is damaged. Argument: the position.",
     "Compare the file with another copy of it if nested fields are missing."},
    {"Velmora:pixlore:ifdsweep:illegallyNestedIFD", "it",
     "tag {1} points to a directory where none may be, in a directory of kind {2} or too deeply nested",
     "GPS and Interoperability directories point nowhere, and directories are nested at most 64 deep; the entry is left out. Arguments: the tag's number, the kind of the directory that holds it.",
     "A sound file has no such entry: treat it as damaged, or as made to do harm."},
    {"Velmora:pixlore:ifdsweep:unrecognizedIfdId", "i",
     "directory kind {1} is unknown, expected 0 to 3",
     "A directory of no known kind was to be read. Argument: the kind.",
     "Please report the file: no file should lead to this."},
    {"Velmora:pixlore:ifdsweep:badTagDataCount", "itii",
     "tag {1} (\"{2}\") has {3} components, expected {4}",
     "A tag that must have a fixed number of values has another. The contract's reading refuses the file; a full reading warns and keeps all values. Arguments: the tag's number, its name, the count found, the count expected.",
     "Where the contract's reading refused the file, read it with --reading full."},
    {"Velmora:pixlore:ifdsweep:expectedTagDataFormat", "ttt",
     "tag \"{1}\" has field type {2}, expected {3}",
     "The value is read all the same. Arguments: the tag's name, the field type found, the type expected.",
     "Look whether the value makes sense; if so, leave the warning out with --ignore."},
    {"Velmora:pixlore:ifdsweep:expectedTagDataFormatMultiple", "ttt",
     "tag \"{1}\" has field type {2}, expected one of {3}",
     "The value is read all the same. Arguments: the tag's name, the field type found, the types expected.",
     "Look whether the value makes sense. If it does, --ignore leaves the warning out."},
    {"Velmora:pixlore:validate:argumentOutOfBounds", "",
     "a number does not fit in the range of its type",
     "A numeric conversion failed while the file was read.",
     "Check the numbers that were given: --offset, --first and --max."},
    {"Velmora:pixlore:ifdsweep:badTiffTagOffsetDataRead", "ti",
     "the value of tag \"{1}\" at position {2} cannot be read from its offset",
     "The data that an entry points to could not be read in full. Arguments: the tag's name, or its number when it has none; the position of the value.",
     "With readBudgetSpent or readFailed beside it, see there; otherwise compare the file with another copy of it."},
    readingRow(ReadingMessageId::layoutGuessed,
     "the version word {1} of the TIFF header does not tell the layout, which was taken from where the header leads",
     "The word is that of no layout, or of one in which the header leads out of the file: it is damaged, or the file is of an unknown kind. Argument: the word. Classic TIFF has 42, BigTIFF 43.",
     "Take what is shown with doubt: it may be wrong throughout. Find out which program wrote the file."),
    readingRow(ReadingMessageId::directoryCut,
     "the directory at position {1} is cut short: {2} of its {3} entries are whole",
     "The file ends inside the directory's table of entries. The whole ones are read; the pointer to the next directory, which stands behind the table, is lost. Arguments: the directory's position, the entries that are whole, the entries that it says it has.",
     "Check that the file was copied whole; the directories behind this one cannot be found in what is there."),
    readingRow(ReadingMessageId::pointerHoldsNoOffset,
     "tag {1} is a pointer to a directory and has field type {2}, which holds no offsets",
     "The pointer leads nowhere. The entry is kept among the unknown tags, with its value. Arguments: the tag's number, the field type.",
     "Compare the file with another copy of it if nested fields are missing. --format facts shows the entry."),
    readingRow(ReadingMessageId::valuesNotLoaded,
     "values longer than {2} bytes are not loaded, {1} of them: {3}",
     "The fields are there and empty, because no longer values were asked for. Arguments: how many values there are, the most bytes of one that is loaded, the first of them, each with its count, field type and position.",
     "If you want them, allow longer ones with --max-value, or \"all\". Nothing is wrong with the file."),
    {kOpenFailureId, "tt",
     "cannot be opened: {2}",
     "The path exists and cannot be opened for reading. Arguments: the path, the system's reason.",
     "Check its permissions, and that it is a file."},
    {kReadBudgetSpentId, "ii",
     "the read budget of {1} bytes is spent (file size {2} bytes); the rest is left out, --read-budget sets another",
     "The file makes its reader read the same bytes again and again, as a loop of directories does. What was read is in the result. Arguments: the budget, the file's size, both in bytes.",
     "If the file is sound, give a larger --read-budget, or \"unlimited\"."},
    {kValueBudgetSpentId, "ii",
     "the value budget of {1} bytes is spent (file size {2} bytes); the rest is left out, --value-budget sets another",
     "The file makes far more values or warnings than its size explains, as one does whose directories share a value. What was made is in the result; records and warnings beyond it are left out. Arguments: the budget, the file's size, both in bytes.",
     "If the file is sound, give a larger --value-budget, or \"unlimited\"."},
    {kMemorySpentId, "ii",
     "the values take the {1} bytes of memory that there are for them (file size {2} bytes); the rest is left out, --memory allows more",
     "There is more in the file than there is memory for. What was read is in the result; records beyond it are left out. Arguments: the bytes that values may take, the file's size.",
     "Read fewer directories at a time with --first and --max, or allow more --memory."},
    {kReadFailedId, "ti",
     "the file cannot be read at position {2}: {1}",
     "The system failed a read, as it does for a damaged disk or a network that went away. Told once for each reason. Arguments: the system's reason, the position. What could be read is in the result; when the file's beginning cannot be read, nothing could.",
     "Check the storage, then read the file again."},
}};
// clang-format on

}  // namespace

std::span<const MessageTextRow> messageTexts() noexcept {
    return kMessageTexts;
}

const MessageTextRow* findMessageText(std::string_view id) noexcept {
    const auto row =
        std::find_if(kMessageTexts.begin(), kMessageTexts.end(),
                     [id](const MessageTextRow& candidate) { return candidate.id == id; });
    return row == kMessageTexts.end() ? nullptr : &*row;
}

std::string argumentText(const qxMessageArgument& argument) {
    struct TextOf : boost::static_visitor<std::string> {
        std::string operator()(std::int64_t number) const { return std::to_string(number); }
        std::string operator()(const std::string& text) const { return text; }
        std::string operator()(const std::u16string& name) const { return fileNameToSystem(name); }
        std::string operator()(const qxMessageText& text) const {
            return boost::apply_visitor(*this, text);
        }
    };
    return boost::apply_visitor(TextOf(), argument);
}

// Placeholders are "{1}" to "{9}". The arguments put in are not searched for more of them.
std::string filledText(std::string_view text, const qxMessage& message) {
    const std::vector<qxMessageArgument>& arguments = message.arguments();
    std::string filled;
    for (std::size_t brace = text.find('{'); brace != text.npos; brace = text.find('{')) {
        filled += text.substr(0, brace);
        const std::size_t number = static_cast<std::size_t>(text[brace + 1] - '1');
        if (number < arguments.size()) {
            filled += argumentText(arguments[number]);
        }
        text.remove_prefix(brace + 3);
    }
    return filled.append(text);
}

std::string hostMessageText(const qxMessage& message) {
    const MessageTextRow* row = findMessageText(message.id());
    if (row != nullptr) {
        return filledText(row->text, message);
    }
    std::string text(message.id());
    for (const qxMessageArgument& argument : message.arguments()) {
        text += ' ' + argumentText(argument);
    }
    return text;
}

}  // namespace ifdsweep
