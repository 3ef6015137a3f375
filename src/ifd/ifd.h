#pragma once

// One image file directory: what is kept of it until the chain's record is made. It owns the host
// values of its tags; the tags themselves are gone once their directory is read. One thread.
//
// Members are defined in ifd.cpp and, for the fields that it must show or derives, in
// required_fields.cpp.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "adapter/values.h"
#include "dict/ifd_type.h"
#include "stream/known_tag.h"

namespace ifdsweep::module {

class TiffStream;
class TiffTag;

/// A tag that no dictionary names.
struct UnknownTag {
    std::uint16_t tagId;
    std::uint64_t dataOffset;  ///< from the TIFF header; 0 when the data lay in the entry
    OwnedValue value;          ///< text or a double row

    /// Fills the fields "ID", "Offset" and "Value" of one element; the value is handed over.
    void setUnknownTagQx(qxArray* records, std::size_t index);
};

class IFD {
public:
    IFD(TiffStream* file, IFDtype_t_ kind) : tagFile(file), ifdType(kind) {}

    /// What became of a directory. The chain goes on after a whole one alone.
    enum class Ending : std::uint8_t {
        whole,
        cut,         ///< the file ends inside the table; warned `directoryCut`
        missing,     ///< no readable entry count (`numberOfDirectoryEntriesReadError`), or no
                     ///< entries (`numDirectoryEntriesIsZero`)
        tooLarge,    ///< for the segment of a JPEG; warned `jpegApp1MaximumLengthExceeded`
        unreadable,  ///< the file ends before a whole entry; nothing was said
    };

    /// Reads the directory at the stream's position.
    [[nodiscard]] Ending process();

    /// The number of fields that the directory contributes, one more for all that were passed over
    /// because they were not asked for.
    [[nodiscard]] std::size_t size() const {
        return tags.size() + (unknownTags.empty() ? 0U : 1U) + (hasMore ? 1U : 0U);
    }

    /// Sets "ColorType" of one element: a name, or the number of an unlisted interpretation.
    void setColorType(qxArray* records, std::size_t index) const;

    /// Sets "BitDepth" of one element: the sum of BitsPerSample.
    void setBitDepth(qxArray* records, std::size_t index) const;

    /// Hands the values of all tags over to one element.
    void ifd2struct(qxArray* records, std::size_t index);

    std::vector<KnownTag> tags;  ///< in entry order, then the defaults
    std::vector<UnknownTag> unknownTags;
    std::uint64_t numEntries = 0;
    TiffStream* tagFile;          ///< not owned
    std::uint64_t ifdOffset = 0;  ///< file position of the entry count
    IFDtype_t_ ifdType;
    std::uint64_t entryBytes = 0;  ///< size of the entries
    double width = 0;
    double height = 0;
    std::uint32_t requiredFieldFlags = 0;  ///< bit N: row N of the required fields was seen
    std::int32_t photometric = -1;
    std::vector<double> bitsPerSample;  ///< empty again once the directory is read
    double bitDepth = 0;                ///< their sum
    std::uint64_t samplesPerPixel = 1;  ///< the number of values of tag 277
    bool hasMore = false;               ///< has something to show beside its tags, asked for or not

private:
    void processIfdTags(std::span<const std::uint8_t> entries);
    void processEntry(const std::uint8_t* entry);
    [[nodiscard]] bool isAskedFor(std::uint16_t tag) const;
    [[nodiscard]] bool isPassedOver(const std::uint8_t* entry);
    [[nodiscard]] bool wouldBeKept(const std::uint8_t* entry) const;
    void flagDefaultValues(const TiffTag& tag);
    void keep(TiffTag& tag);
    void processRequiredFields();
    void keepDefault(TiffTag& tag);
};

}  // namespace ifdsweep::module
