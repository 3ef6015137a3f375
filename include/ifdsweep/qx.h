#pragma once

// The contract between the module and its host: the values, messages and file services that the
// host provides, and nothing else. The host implements every `qx` function declared here; the
// module calls them and includes nothing of the host's.
//
// Ownership: a handle returned by a `qxCreate` function belongs to the caller until it is stored
// with `qxSetField` or `qxSetCell`, handed out through the entry point, or freed with
// `qxDestroyArray`.
//
// Failure: every operation but `qxDestroyArray` may throw, and the exception ends the call. A
// `qxCreate` function that cannot make its value throws and never gives null. `qxSetField` and
// `qxSetCell` take the value or throw without having taken it: it is then still the caller's, who
// frees it. `qxOpenFile` that throws has left no stream open.
//
// Threads: a host may serve several threads at once, each with calls of its own. Stable: the API.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <boost/variant.hpp>

// ------------------------------------------------------------------------------------- messages

/// Text argument of a message: an 8-bit string, or UTF-16 for file names.
using qxMessageText = boost::variant<std::string, std::u16string>;

/// One argument of a message: a signed 64-bit integer or a text.
using qxMessageArgument = boost::variant<std::int64_t, qxMessageText>;

/// The generic message: an identifier and its ordered arguments. The text belongs to the host's
/// catalogue. It is an exception so that an error can be thrown after it was raised.
class qxMessage : public std::exception {
public:
    /// @param messageId full identifier; a NUL-terminated text that outlives the message
    qxMessage(const char* messageId, std::vector<qxMessageArgument> messageArguments)
        : identifier(messageId), argumentList(std::move(messageArguments)) {}

    /// The full identifier, such as "Velmora:pixlore:ifdsweep:statFailure".
    [[nodiscard]] std::string_view id() const noexcept { return identifier; }

    /// The arguments in the order that the identifier fixes.
    [[nodiscard]] const std::vector<qxMessageArgument>& arguments() const noexcept {
        return argumentList;
    }

    [[nodiscard]] const char* what() const noexcept override { return identifier; }

private:
    const char* identifier;
    std::vector<qxMessageArgument> argumentList;
};

/// Hands a warning to the host, which returns; reading goes on.
void qxWarningMsgId(const qxMessage& message);

/// Ends the call with an error; it does not return. Callers throw the message all the same.
void qxRaiseError(const qxMessage& message);

// --------------------------------------------------------------------------------------- values

/// A host value: numeric, character, cell or record array. Opaque to the module.
struct qxArray;

/// The host's value classes that the module asks for.
enum qxClassID : int { qxDOUBLE_CLASS = 6, qxUINT8_CLASS = 9 };

/// Real or complex; the module always asks for real.
enum qxComplexity : int { qxREAL = 0, qxCOMPLEX = 1 };

/// The UTF-16 text of a character array.
[[nodiscard]] std::u16string qxGetUString(const qxArray* text);

/// The first element of a numeric value.
[[nodiscard]] double qxGetScalar(const qxArray* number);

/// A 1-by-`length` character row of UTF-16 code units.
[[nodiscard]] qxArray* qxCreateUString(const char16_t* units, std::size_t length);

/// A character row with one character for each byte of a NUL-terminated text, zero-extended; an
/// empty text gives a 1-by-0 row.
[[nodiscard]] qxArray* qxCreateString(const char* text);

/// A character array for the module to fill through `qxGetChars`.
[[nodiscard]] qxArray* qxCreateCharArray(std::size_t dimensionCount, const std::size_t* dimensions);

/// A cell array of empty cells.
[[nodiscard]] qxArray* qxCreateCellArray(std::size_t dimensionCount, const std::size_t* dimensions);

/// A record array with every field of every element empty.
[[nodiscard]] qxArray* qxCreateStructArray(std::size_t dimensionCount,
                                           const std::size_t* dimensions, std::size_t fieldCount,
                                           const char* const* fieldNames);

/// A 1-by-1 double.
[[nodiscard]] qxArray* qxCreateDoubleScalar(double value);

/// A numeric array for the module to fill through `qxGetDoubles` or `qxGetUint8s`; its elements
/// are unspecified until then. A dimension count of 0 gives a 0-by-0 array.
[[nodiscard]] qxArray* qxCreateNumericArray(std::size_t dimensionCount,
                                            const std::size_t* dimensions, qxClassID classId,
                                            qxComplexity complexity);

/// Stores a value in a field of one element (zero-based). The record array takes ownership and
/// frees what the field held; null leaves the field empty. When it throws, the field is as it was
/// and the value the caller's.
void qxSetField(qxArray* records, std::size_t index, const char* fieldName, qxArray* value);

/// Stores a value in a cell (zero-based). The cell array takes ownership and frees what the cell
/// held; null leaves it empty. When it throws, the cell is as it was and the value the caller's.
void qxSetCell(qxArray* cells, std::size_t index, qxArray* value);

/// Frees a value that the module still owns, with everything in it. Null is allowed. It does not
/// throw: the module frees values while an exception is on its way.
void qxDestroyArray(qxArray* value);

/// The column-major elements of a double array, for filling.
[[nodiscard]] double* qxGetDoubles(qxArray* value);

/// The elements of an unsigned 8-bit array, for filling.
[[nodiscard]] std::uint8_t* qxGetUint8s(qxArray* value);

/// The UTF-16 code units of a character array, for filling.
[[nodiscard]] char16_t* qxGetChars(qxArray* value);

// --------------------------------------------------------------------------------- file services

/// What a path names.
enum class qxFileType : std::uint8_t { notFound, regular, directory, other };

/// Result of a file status query; as constructed it describes a file that was not found.
struct qxFileStatus {
    /// The time stamp that means "not a date and time".
    static constexpr std::int64_t kNotADateTime = 9223372036854775806;

    qxFileType type = qxFileType::notFound;
    std::uint32_t permissions = 0;  ///< permission bits as the system gives them
    /// Access, last modification and status change, in microseconds of local time since
    /// 1970-01-01 00:00:00.
    std::array<std::int64_t, 3> timeStamps{kNotADateTime, kNotADateTime, kNotADateTime};
    std::uint64_t fileSize = 0;  ///< bytes
};

/// The status of a path; of type `notFound` where there is none.
[[nodiscard]] qxFileStatus qxGetFileStatus(const std::u16string& path);

/// Whether the path exists.
[[nodiscard]] bool qxFileExists(const std::u16string& path);

/// Opens a file by its UTF-16 name with a stdio mode ("r" or "rb"). Null when the path does not
/// exist; the host raises an error of its own when it exists and cannot be opened. The caller
/// closes the stream.
[[nodiscard]] std::FILE* qxOpenFile(const std::u16string& path, const char* mode);

// ---------------------------------------------------------------------------------- entry point

/// The module's entry point: reads every directory of a TIFF stream.
///
/// @param outputCount not read
/// @param outputs     `outputs[0]` receives an [N, 1] record array, one element per directory, or
///                    an empty 0-by-0 double array when no directory was read
/// @param inputCount  not read; exactly four inputs are taken
/// @param inputs      file name (char), byte position of the TIFF stream, number of directories to
///                    skip, largest number of directories to read (0: no limit)
extern "C" void qxeFunction(int outputCount, qxArray** outputs, int inputCount,
                            const qxArray** inputs);
