#pragma once

// One file being scanned: the stream that it opens, its header, and the primary chain.
//
// The entry point owns one `TagFile` for the duration of a call. One thread.
//
// Members are defined in tag_file.cpp and tiff_header.cpp; the sniffers in sniffers.cpp.

#include <cstdint>
#include <string>

#include "adapter/values.h"
#include "dict/ifd_type.h"
#include "ifd/ifd_tree.h"
#include "stream/tiff_stream.h"

namespace ifdsweep::module {

/// Whether the file begins FF D8.
[[nodiscard]] bool isJpeg(std::u16string filename);

/// Whether the file begins with a byte-order mark and the version 42 in that order.
[[nodiscard]] bool isClassicTiff(std::u16string filename);

/// Whether the file begins with a byte-order mark and the version 43 in that order.
[[nodiscard]] bool isBigTiff(std::u16string filename);

class TagFile final : public TiffStream {
public:
    /// Opens the file and decides its layout. A path that does not exist raises the error
    /// `statFailure`; what the host raises for one that cannot be opened passes through.
    TagFile(std::u16string name, std::uint64_t streamOffset, std::uint64_t firstIndex,
            std::uint64_t maximumCount, const Reading& reading = {});
    TagFile(const TagFile&) = delete;
    TagFile& operator=(const TagFile&) = delete;
    ~TagFile() override;

    /// Reads header and directories into `ifdTree`. Damage in the header, or in the first
    /// directory of all, is an error.
    void readThroughTagFile();

    /// The record array of the primary chain, or an empty 0-by-0 double array.
    [[nodiscard]] OwnedValue repackageIfds();

    /// Sets the host's byte order, which is little-endian.
    void determineArchitectureEndianness();

    /// Names the fields with which records of primary directories begin.
    void setupDefaultFields();

    // Header (TIFF 6.0 section 2).

    /// Reads the header and skips `firstIfdIndex` directories. Raises `tiffHeaderReadFailure`,
    /// `badEndianness`, `badTiffIfdOffset` or `badTiffHeaderIfdOffset`.
    void readThroughTiffHeader();
    void readTiffHeaderEndianFormat();

    std::size_t readChain(IFDtype_t_ kind, bool isShown, OwnedValue& records) override;

    std::uint64_t initialOffset;
    std::uint64_t firstIfdIndex;
    IFDtype_t_ primaryKind;  ///< of the directories of the primary chain
    IFDTree ifdTree;
    std::uint32_t byteOrderMark = 0;
    bool hostIsBigEndian = false;
    bool hostIsLittleEndian = true;
    std::uint16_t tiffVersion = 0;

private:
    /// Counts one level of nested directories while it lives.
    class NestingLevel {
    public:
        explicit NestingLevel(TagFile& tagFile) : file(tagFile) { ++file.nestingDepth; }
        NestingLevel(const NestingLevel&) = delete;
        NestingLevel& operator=(const NestingLevel&) = delete;
        ~NestingLevel() { --file.nestingDepth; }

    private:
        TagFile& file;
    };

    [[nodiscard]] FileFormat layoutByVersion();
    [[nodiscard]] bool leadsToDirectory(FileFormat layout);
    void skipDirectories();
    void skipDirectory();
};

}  // namespace ifdsweep::module
