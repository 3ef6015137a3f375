#pragma once

// One directory entry, from its raw form to its host value.
//
// A tag lives only while its directory is being read: the constructor decodes the entry, the
// directory takes the host value (`getQxArray`, `setUnknownTagQx`) and the tag goes. Its data are
// views of the tag file's buffer, valid until the next entry is decoded; nothing is copied on the
// way from the file to the host's value. Texts of names are the constant tables' own. One thread.
//
// Members are defined in tiff_tag.cpp (decoding), tag_data.cpp (data by field type), tag_values.cpp
// (names and special treatments), sub_ifds.cpp (pointers), tag_export.cpp (host values) and
// tag_facts.cpp (what the sink is told).

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "adapter/values.h"
#include "dict/ifd_type.h"
#include "dict/ordered_map.h"
#include "stream/tiff_stream.h"
#include "tag/numeric_values.h"

namespace ifdsweep::module {

class TiffTag {
public:
    /// Decodes a raw entry of a directory of the given kind, in file byte order (`entry` holds
    /// 12 bytes, 20 in a BigTIFF). Gives every warning and error about the entry and follows the
    /// pointers of tags 330, 34665, 34853 and 40965. Look at `isDropped` before anything else: a
    /// damaged file has entries to drop by the million, which makes an exception too dear.
    TiffTag(TiffStream* file, const std::uint8_t* entry, IFDtype_t_ kind);

    /// The default of a required field with a fixed or no value. Any other id warns
    /// `unrecognizedTagId` and throws `TiffTagsRecoverableError`.
    TiffTag(unsigned short id, IFDtype_t_ kind);

    /// The default of BitsPerSample: `n` values of 1.
    TiffTag(int id, IFDtype_t_ kind, unsigned long n);

    /// The default of MinSampleValue (280), a 0 for each element of `bits`, or of MaxSampleValue,
    /// 2^b - 1 for each element b.
    TiffTag(unsigned short id, IFDtype_t_ kind, std::vector<double> bits);

    TiffTag(const TiffTag&) = delete;
    TiffTag& operator=(const TiffTag&) = delete;
    ~TiffTag() = default;

    /// Whether the entry must be dropped; its warning has been given. The tag is then half-built
    /// and good for nothing.
    [[nodiscard]] bool isDropped() const { return dropped; }

    [[nodiscard]] std::uint16_t getId() const { return tagId; }

    /// The name of the tag; empty when the dictionary of its directory kind has none.
    [[nodiscard]] const char* getName() const { return tagName; }

    /// The first value, whatever the index; `numericValues` must not be empty.
    [[nodiscard]] double getNumericValue(int index) const;

    /// How many chains with at least one directory were reached through this tag.
    [[nodiscard]] std::size_t subIfdSize() const { return subIfds.size(); }

    /// The host value: a double row, a 1-by-N char row (0-by-0 when it holds NULs only), the
    /// special shapes of ColorMap, SampleFormat and ImageSourceData, nested records, or null when
    /// the tag has nothing to show. Nested records can be taken once.
    [[nodiscard]] OwnedValue getQxArray();

    /// ColorMap (320): count/3 rows by 3 columns between 0 and 1; null without values.
    [[nodiscard]] OwnedValue getQxArrayColormap() const;

    /// SampleFormat (339): a name, or a 1-by-N cell of names when there is not exactly one.
    [[nodiscard]] OwnedValue getQxArraySampleFormat() const;

    /// ImageSourceData (37724): the bytes as a 1-by-N unsigned 8-bit row.
    [[nodiscard]] OwnedValue getQxArrayImageSourceData() const;

    /// The value of an unknown tag: its text up to the first NUL, or a double row.
    [[nodiscard]] OwnedValue getQxArrayUnknown() const;

    /// Tells the sink of the entry, at which the walk stands.
    /// @param droppedBy full id of the warning; empty when the entry is kept
    void tell(std::string_view droppedBy) const;

    /// Tells the sink of a default.
    void tellDefault(TiffStream& file) const;

    /// Checks the component count by the tag's rule; by the contract's a wrong one is an error.
    void validateCount() const;

    /// Checks the field type by the tag's rule; a type that is not accepted warns
    /// `expectedTagDataFormat` or `expectedTagDataFormatMultiple` (name, actual, expected).
    void validateTag() const;

    // These two return false when the entry must be dropped; its warning has been given.

    /// `validateTag()`, then the decoding of the data.
    [[nodiscard]] bool processGenericTag();

    /// Turns the data into numbers, text or bytes by field type. Warns `unrecognizedIfd`,
    /// `noTypeFormatId` or `badTagValueDivisionByZero`.
    [[nodiscard]] bool processNormalTagData();

    /// Names enumerated values and gives a few tags their special treatment. A directory kind
    /// outside the four raises the error `unrecognizedIfdId`.
    void processSpecificTag();

    // The tag as decoded.
    std::span<const std::uint8_t> byteData;  ///< filled for ImageSourceData alone
    NumericValues numericValues;             ///< empty for text and pointers
    std::string_view stringValue;            ///< the text with every NUL that was stored
    std::string_view valueName;              ///< readable value of an enumerated tag
    TiffStream* tagFile = nullptr;           ///< not owned; null for defaults
    std::uint16_t tagId = 0;
    std::uint32_t dataType = 0;  ///< field type code; 0 for defaults
    std::uint64_t componentCount = 0;
    std::uint64_t dataOffset = 0;  ///< from the TIFF header; 0 when inline
    bool dropped = false;          ///< see `isDropped`
    bool isDefault = false;
    bool isTooLong = false;           ///< longer than what is asked for, and not loaded
    bool leadsNowhere = false;        ///< a pointer tag of a type that holds no offsets
    std::uint64_t dataSize = 0;       ///< bytes
    IFDtype_t_ ifdType = primaryIFD;  ///< kind of the directory that holds the tag
    /// Row of the name in the dictionary of the kind; `TextMap::kNotFound` when it has none.
    std::size_t nameRow = TextMap::kNotFound;
    const char* tagName = "";
    std::span<std::uint8_t> rawData;  ///< the data in host byte order; null unless they were read
    std::vector<OwnedValue> subIfds;  ///< records of the chains that are shown
    std::size_t chainCount = 0;       ///< chains that hold a directory, shown or not

private:
    /// Gives a warning about the entry; one about a default has no place in the file.
    template <auto message, class... Arguments>
    [[gnu::always_inline]] inline void warn(Arguments&&... arguments) const {
        warnOf<message>(tagFile, std::forward<Arguments>(arguments)...);
    }

    void setTagName();
    [[nodiscard]] std::string_view readableName() const;
    [[nodiscard]] std::string label() const;
    /// A frame of its own, as a warning has: its texts would widen those of the readers, which
    /// nest.
    [[gnu::noinline]] void leaveInFile(Wide position);

    // Steps of the decoding; false when the entry must be dropped and its warning has been given.
    [[nodiscard]] bool decode(const std::uint8_t* entry);
    [[nodiscard]] bool setTagDataOffset(const std::uint8_t* entry, std::uint32_t width);
    [[nodiscard]] bool mayBeLong() const;
    [[nodiscard]] bool holdsOffsets() const;
    void leadNowhere();
    [[nodiscard]] bool isProfile() const;
    [[nodiscard]] bool processSubIfds(IFDtype_t_ chainKind);
    [[nodiscard]] bool processSubIfd(std::uint64_t offset, IFDtype_t_ chainKind);
    [[nodiscard]] bool mayNest() const;
    [[nodiscard]] bool checkThatProposedNewSubIfdIsLegal() const;

    /// The records of a pointer tag: those of the one chain, for SubIFDs a cell for each.
    [[nodiscard]] OwnedValue getQxArraySubIfds();

    // Values by field type.
    void setNumbers(TIFFDataType itemType);
    void processTiffTagRational();
    void processTiffTagSRational();

    // Value names and special treatments.
    struct Decoders;
    void nameValue(const TextMap& names);
    void processResolutionUnit();
    void processGrayResponseUnit();
    void processImageDescription();
    void processXMP();
    void processICCProfile();

    std::array<std::uint8_t, 8> inlineData{};  ///< data that lay in the entry
    double singleNumber = 0;                   ///< a number that is not in the file
    std::vector<double> defaultNumbers;        ///< several of them
    std::string packet;                        ///< XMP that is not stored as bytes
};

/// Text as a char row: trailing NULs removed, bytes widened with their sign to 16 bits (0xE9 gives
/// U+FFE9); 0-by-0 when nothing is left.
[[nodiscard]] OwnedValue trim_nulls(std::string_view text);

}  // namespace ifdsweep::module
