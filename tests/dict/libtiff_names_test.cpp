// The tag names against libtiff's, which knows most of them from the same documents: where both
// have a name, it is the same one but for the differences that are known, and why.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <tiffio.h>

#include "dict/tag_names.h"
#include "support/temporary_folder.h"

namespace fixture {
namespace {

using namespace ifdsweep::module;

/// A number that libtiff names otherwise.
struct Difference {
    unsigned id;
    std::string ours;
    std::string theirs;

    bool operator==(const Difference&) const = default;
};

void PrintTo(const Difference& shown, std::ostream* out) {
    *out << shown.id << ' ' << shown.ours << " / " << shown.theirs;
}

// clang-format off
const std::vector<Difference> kInPrimaryDirectories{
    // The record has fields of these names for every format that its host reads.
    {256, "Width", "ImageWidth"},
    {257, "Length", "ImageLength"},
    // Spelled otherwise, or misspelled by one of the two.
    {254, "NewSubFileType", "SubfileType"},
    {255, "SubFileType", "OldSubfileType"},
    {263, "Thresholding", "Threshholding"},
    {320, "Colormap", "ColorMap"},
    {32996, "Datatype", "DataType"},
    {33723, "ITPC", "RichTIFFIPTC"},
    {34911, "FaxDCS", "FaxDcs"},
    {37439, "StoNITS", "StoNits"},
    {50734, "LinearResponseUnit", "LinearResponseLimit"},
    {50834, "CurrentICCProfileMatrix", "CurrentPreProfileMatrix"},
    // Ours says what is shown: the directories themselves, or what the value is.
    {330, "SubIFDs", "SubIFD"},
    {700, "XMP", "XMLPacket"},
    {34665, "DigitalCamera", "EXIFIFDOffset"},
    {34675, "ICCProfileOffset", "ICC Profile"},
    {34853, "GPSInfo", "GPSIFDOffset"},
    {37724, "ImageSourceData", "Adobe Photoshop Document Data Block"},
    {40965, "InteroperabilityIFD", "InteroperabilityIFDOffset"},
    // Ours says whose tag it is.
    {33300, "PixarImageFullWidth", "ImageFullWidth"},
    {33301, "PixarImageFullLength", "ImageFullLength"},
    {33302, "PixarTextureFormat", "TextureFormat"},
    {33303, "PixarWrapModes", "TextureWrapModes"},
    {33304, "PixarFovCot", "FieldOfViewCotangent"},
    {33305, "PixarMatrixWorldToScreen", "MatrixWorldToScreen"},
    {34908, "HylaFAXFaxRecvParams", "FaxRecvParams"},
    {34909, "HylaFAXFaxSubAddress", "FaxSubAddress"},
    {34910, "HylaFAXFaxRecvTime", "FaxRecvTime"},
    // Two uses of one number.
    {434, "DefaultImageColor", "ImageBaseColor"},
    {50781, "AliasLayerMetadata", "RawDataUniqueID"},
};

const std::vector<Difference> kInExifDirectories{
    {34856, "OECF", "OptoelectricConversionFactor"},
    {37520, "SubsecTime", "SubSecTime"},
    {37521, "SubsecTimeOriginal", "SubSecTimeOriginal"},
    {37522, "SubsecTimeDigitized", "SubSecTimeDigitized"},
    {40962, "CPixelXDimension", "PixelXDimension"},
    {40963, "CPixelYDimension", "PixelYDimension"},
};
// clang-format on

/// What a comparison of all numbers gives.
struct Comparison {
    std::vector<Difference> differences{};
    int same = 0;
};

/// Compares a dictionary with the fields that libtiff knows in a directory.
/// @param enter makes a new file's directory one of the kind
/// @param prefix what our names begin with and libtiff's do not
Comparison compare(const TextMap& dictionary, const std::function<void(TIFF*)>& enter,
                   const std::string& prefix = "") {
    const TemporaryFolder folder;
    TIFF* const tiff = TIFFOpen((folder / "names.tif").c_str(), "w");
    enter(tiff);
    Comparison comparison;
    for (unsigned id = 0; id <= 0xFFFF; ++id) {
        const std::string ours = search_map(&dictionary, static_cast<std::uint16_t>(id));
        const TIFFField* const field = TIFFFindField(tiff, id, TIFF_ANY);
        if (ours == "unknown" || field == nullptr) {
            continue;
        }
        std::string theirs = prefix + TIFFFieldName(field);
        if (ours == theirs) {
            ++comparison.same;
        } else {
            comparison.differences.push_back({id, ours, std::move(theirs)});
        }
    }
    TIFFCleanup(tiff);
    return comparison;
}

/// The same differences, ordered by number.
std::vector<Difference> ordered(std::vector<Difference> differences) {
    std::sort(differences.begin(), differences.end(),
              [](const Difference& left, const Difference& right) { return left.id < right.id; });
    return differences;
}

TEST(LibtiffNames, InPrimaryDirectories) {
    const Comparison comparison = compare(primaryMap, [](TIFF*) {});
    EXPECT_EQ(comparison.differences, ordered(kInPrimaryDirectories));
    EXPECT_GT(comparison.same, 100);
}

TEST(LibtiffNames, InExifDirectories) {
    const Comparison comparison = compare(primaryMap, [](TIFF* tiff) {
        TIFFFreeDirectory(tiff);
        TIFFCreateEXIFDirectory(tiff);
    });
    EXPECT_EQ(comparison.differences, ordered(kInExifDirectories));
    EXPECT_GT(comparison.same, 40);
}

TEST(LibtiffNames, InGpsDirectories) {
    const auto enter = [](TIFF* tiff) {
        TIFFFreeDirectory(tiff);
        TIFFCreateGPSDirectory(tiff);
    };
    const Comparison comparison = compare(GPSmap, enter, "GPS");
    EXPECT_EQ(comparison.differences, std::vector<Difference>{});
    EXPECT_EQ(comparison.same, 31);
}

}  // namespace
}  // namespace fixture
