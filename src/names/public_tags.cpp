#include "names/public_tags.h"

#include <algorithm>
#include <array>

namespace ifdsweep {
namespace {

// clang-format off
/// Directories of the main chain, SubIFDs and Exif directories, which share a dictionary. Sources:
/// TIFF 6.0 section 22 (519); Microsoft's documentation of photo metadata in Windows (18246, 18249,
/// 40091 to 40095, 59932, 59933); Exif 3.0, CIPA DC-008-2023 (42038 to 42044); all others are of
/// Exif 2.32, CIPA DC-008-2019, section 4.6.5.
constexpr std::array kTiffTags{
    PublicTag{519,   "JPEGQTables"},
    PublicTag{18246, "Rating"},
    PublicTag{18249, "RatingPercent"},
    PublicTag{34864, "SensitivityType"},
    PublicTag{34865, "StandardOutputSensitivity"},
    PublicTag{34866, "RecommendedExposureIndex"},
    PublicTag{34867, "ISOSpeed"},
    PublicTag{34868, "ISOSpeedLatitudeyyy"},
    PublicTag{34869, "ISOSpeedLatitudezzz"},
    PublicTag{36880, "OffsetTime"},
    PublicTag{36881, "OffsetTimeOriginal"},
    PublicTag{36882, "OffsetTimeDigitized"},
    PublicTag{37888, "Temperature"},
    PublicTag{37889, "Humidity"},
    PublicTag{37890, "Pressure"},
    PublicTag{37891, "WaterDepth"},
    PublicTag{37892, "Acceleration"},
    PublicTag{37893, "CameraElevationAngle"},
    PublicTag{40091, "XPTitle"},
    PublicTag{40092, "XPComment"},
    PublicTag{40093, "XPAuthor"},
    PublicTag{40094, "XPKeywords"},
    PublicTag{40095, "XPSubject"},
    PublicTag{42032, "CameraOwnerName"},
    PublicTag{42033, "BodySerialNumber"},
    PublicTag{42034, "LensSpecification"},
    PublicTag{42035, "LensMake"},
    PublicTag{42036, "LensModel"},
    PublicTag{42037, "LensSerialNumber"},
    PublicTag{42038, "ImageTitle"},
    PublicTag{42039, "Photographer"},
    PublicTag{42040, "ImageEditor"},
    PublicTag{42041, "CameraFirmware"},
    PublicTag{42042, "RAWDevelopingSoftware"},
    PublicTag{42043, "ImageEditingSoftware"},
    PublicTag{42044, "MetadataEditingSoftware"},
    PublicTag{42080, "CompositeImage"},
    PublicTag{42081, "SourceImageNumberOfCompositeImage"},
    PublicTag{42082, "SourceExposureTimesOfCompositeImage"},
    PublicTag{42240, "Gamma"},
    PublicTag{59932, "Padding"},
    PublicTag{59933, "OffsetSchema"},
};

/// GPS directories. Source: Exif 2.32 (CIPA DC-008-2019), the table of GPS attributes.
constexpr std::array kGpsTags{
    PublicTag{31, "GPSHPositioningError"},
};
// clang-format on

}  // namespace

std::span<const PublicTag> publicTags(DirectoryKind kind) {
    switch (kind) {
        case DirectoryKind::primary:
        case DirectoryKind::exif:
            return kTiffTags;
        case DirectoryKind::gps:
            return kGpsTags;
        case DirectoryKind::interoperability:  // its dictionary has all of DCF 2.0
            break;
    }
    return {};
}

std::string_view publicTagName(DirectoryKind kind, std::uint16_t tag) {
    const std::span<const PublicTag> tags = publicTags(kind);
    const auto place = std::lower_bound(
        tags.begin(), tags.end(), tag,
        [](const PublicTag& row, std::uint16_t wanted) { return row.number < wanted; });
    return place != tags.end() && place->number == tag ? place->name : std::string_view();
}

}  // namespace ifdsweep
