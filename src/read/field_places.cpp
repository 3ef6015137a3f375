#include "read/field_places.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "read/directory_path.h"

namespace ifdsweep {
namespace {

// clang-format off
/// Tags whose fields hold directories (TIFF supplement 1, Exif 2.32 section 4.6.3).
constexpr std::array<std::uint16_t, 4> kPointers{330, 34665, 34853, 40965};

/// A tag of the GPS directory that no dictionary names: GPSHPositioningError (Exif 2.31).
constexpr std::uint16_t kPositioningError = 31;

/// Tags of the Exif directory in ascending order (Exif 2.32 section 4.6.5, Exif 3.0 section 4.6.6).
constexpr std::uint16_t kExifTags[] = {
    33434, 33437,                                       // ExposureTime, FNumber
    34850, 34852, 34855, 34856,                         // ExposureProgram to OECF
    34864, 34865, 34866, 34867, 34868, 34869,           // SensitivityType to ISOSpeedLatitudezzz
    36864, 36867, 36868, 36880, 36881, 36882,           // ExifVersion, dates, OffsetTime
    37121, 37122,                                       // ComponentsConfiguration, CompressedBitsPerPixel
    37377, 37378, 37379, 37380, 37381, 37382, 37383,    // ShutterSpeedValue to MeteringMode
    37384, 37385, 37386, 37396,                         // LightSource to FocalLength, SubjectArea
    37500, 37510, 37520, 37521, 37522,                  // MakerNote, UserComment, fractions of seconds
    37888, 37889, 37890, 37891, 37892, 37893,           // Temperature to CameraElevationAngle
    40960, 40961, 40962, 40963, 40964,                  // FlashpixVersion to RelatedSoundFile
    41483, 41484, 41486, 41487, 41488, 41492, 41493,    // FlashEnergy to ExposureIndex
    41495, 41728, 41729, 41730,                         // SensingMethod to CFAPattern
    41985, 41986, 41987, 41988, 41989, 41990, 41991,    // CustomRendered to GainControl
    41992, 41993, 41994, 41995, 41996,                  // Contrast to SubjectDistanceRange
    42016, 42032, 42033, 42034, 42035, 42036, 42037,    // ImageUniqueID to LensSerialNumber
    42038, 42039, 42040, 42041, 42042, 42043, 42044,    // ImageTitle to MetadataEditingSoftware
    42080, 42081, 42082, 42240,                         // CompositeImage, its sources, Gamma
};
// clang-format on
static_assert(std::is_sorted(std::begin(kExifTags), std::end(kExifTags)));

FieldPlace placeOfTag(std::uint16_t tag) {
    if (std::find(kPointers.begin(), kPointers.end(), tag) != kPointers.end()) {
        return FieldPlace::directories;
    }
    return std::binary_search(std::begin(kExifTags), std::end(kExifTags), tag)
               ? FieldPlace::exifDirectory
               : FieldPlace::anyDirectory;
}

}  // namespace

FieldPlace FieldPlaces::of(const ChosenField& field) const {
    if (field.unknownId) {
        return *field.unknownId == kPositioningError ? FieldPlace::nestedDirectory
                                                     : placeOfTag(*field.unknownId);
    }
    if (field.name == kUnknownTags) {
        return FieldPlace::unknownTags;
    }
    const auto listing =
        std::find_if(listings.begin(), listings.end(),
                     [&field](const TagListing& row) { return row.id && row.name == field.name; });
    if (listing == listings.end()) {
        return FieldPlace::anyDirectory;
    }
    return listing->dictionary == "TIFF" ? placeOfTag(*listing->id) : FieldPlace::nestedDirectory;
}

}  // namespace ifdsweep
