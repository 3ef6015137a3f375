// The table of presenters.

#include "present/present.h"

#include <algorithm>
#include <array>

#include "present/absent_fields.h"
#include "present/code_tables.h"
#include "present/coded_words.h"
#include "present/encoded_text.h"
#include "present/exposure.h"
#include "present/gps.h"
#include "present/measures.h"

namespace ifdsweep {
namespace {

struct PresenterRow {
    std::string_view field;
    Presenter present;
    PresenterParameter parameter{};
};

// clang-format off
constexpr std::array kTopics{
    // The file and its size.
    PresenterRow{"FileSize",                  presentFileSize},
    PresenterRow{"Width",                     presentAbsentZero,      {.sibling = "Width"}},
    PresenterRow{"Height",                    presentAbsentZero,      {.sibling = "Length"}},
    PresenterRow{"BitDepth",                  presentAbsentZero,      {.sibling = "BitsPerSample"}},
    PresenterRow{"ColorType",                 presentAbsentColorType, {.sibling = "PhotometricInterpretation"}},

    // The image, by TIFF and DNG.
    PresenterRow{"NewSubFileType",            presentBits,            {.codes = kNewSubFileTypeBits}},
    PresenterRow{"SubFileType",               presentCodes,           {.codes = kSubFileTypes}},
    PresenterRow{"Orientation",               presentCodes,           {.codes = kOrientations}},
    PresenterRow{"FillOrder",                 presentCodes,           {.codes = kFillOrders}},
    PresenterRow{"Thresholding",              presentCodes,           {.codes = kThresholdings}},
    PresenterRow{"ExtraSamples",              presentCodes,           {.codes = kExtraSamples}},
    PresenterRow{"T4Options",                 presentBits,            {.codes = kT4Options}},
    PresenterRow{"T6Options",                 presentBits,            {.codes = kT6Options}},
    PresenterRow{"CleanFaxData",              presentCodes,           {.codes = kCleanFaxData}},
    PresenterRow{"Indexed",                   presentCodes,           {.codes = kIndexed}},
    PresenterRow{"XResolution",               presentResolution,      {.sibling = "ResolutionUnit", .texts = kNamedResolutionUnits}},
    PresenterRow{"YResolution",               presentResolution,      {.sibling = "ResolutionUnit", .texts = kNamedResolutionUnits}},
    PresenterRow{"DNGVersion",                presentByteVersion},
    PresenterRow{"DNGBackwardVersion",        presentByteVersion},
    PresenterRow{"CFALayout",                 presentCodes,           {.codes = kCfaLayouts}},
    PresenterRow{"MakerNoteSafety",           presentCodes,           {.codes = kMakerNoteSafety}},
    PresenterRow{"CalibrationIlluminant1",    presentCodes,           {.codes = kLightSources}},
    PresenterRow{"CalibrationIlluminant2",    presentCodes,           {.codes = kLightSources}},

    // The exposure.
    PresenterRow{"ExposureTime",              presentExposureTime},
    PresenterRow{"ShutterSpeedValue",         presentShutterSpeed},
    PresenterRow{"FNumber",                   presentFNumber},
    PresenterRow{"ApertureValue",             presentAperture},
    PresenterRow{"MaxApertureValue",          presentAperture},
    PresenterRow{"BrightnessValue",           presentMeasure,         {.unit = " EV"}},
    PresenterRow{"ExposureBiasValue",         presentExposureBias},
    PresenterRow{"SensitivityType",           presentCodes,           {.codes = kSensitivityTypes}},
    PresenterRow{"Flash",                     presentFlash},
    PresenterRow{"FlashEnergy",               presentMeasure,         {.unit = " BCPS"}},
    PresenterRow{"CompositeImage",            presentCodes,           {.codes = kCompositeImages}},

    // The lens.
    PresenterRow{"FocalLength",               presentFocalLength},
    PresenterRow{"FocalLengthIn35mmFilm",     presentPositiveMeasure, {.unit = " mm", .codes = kUnknownLength}},
    PresenterRow{"DigitalZoomRatio",          presentPositiveMeasure, {.unit = "x", .codes = kNoZoom}},
    PresenterRow{"SubjectDistance",           presentSubjectDistance},
    PresenterRow{"LensInfo",                  presentLens},
    PresenterRow{"LensSpecification",         presentLens},
    PresenterRow{"FocalPlaneXResolution",     presentResolution,      {.sibling = "FocalPlaneResolutionUnit", .codes = kResolutionUnits}},
    PresenterRow{"FocalPlaneYResolution",     presentResolution,      {.sibling = "FocalPlaneResolutionUnit", .codes = kResolutionUnits}},
    PresenterRow{"FocalPlaneResolutionUnit",  presentCodes,           {.codes = kResolutionUnits}},

    // The file of a camera.
    PresenterRow{"ExifVersion",               presentDigitVersion},
    PresenterRow{"FlashpixVersion",           presentDigitVersion},
    PresenterRow{"InteroperabilityVersion",   presentDigitVersion},
    PresenterRow{"InteroperabilityIndex",     presentTextCode,        {.texts = kInteroperabilityIndexes}},
    PresenterRow{"ComponentsConfiguration",   presentCodes,           {.codes = kComponents}},
    PresenterRow{"CompressedBitsPerPixel",    presentMeasure,         {.unit = " bit/pixel"}},
    PresenterRow{"UserComment",               presentCodedText},

    // Where and in what it was: Exif 2.31.
    PresenterRow{"Temperature",               presentMeasure,         {.unit = " \u00B0C"}},
    PresenterRow{"Humidity",                  presentMeasure,         {.unit = " %"}},
    PresenterRow{"Pressure",                  presentMeasure,         {.unit = " hPa"}},
    PresenterRow{"WaterDepth",                presentMeasure,         {.unit = " m"}},
    PresenterRow{"Acceleration",              presentMeasure,         {.unit = " mGal"}},
    PresenterRow{"CameraElevationAngle",      presentMeasure,         {.unit = "\u00B0"}},

    // GPS.
    PresenterRow{"GPSVersionID",              presentByteVersion},
    PresenterRow{"GPSLatitude",               presentPosition,        {.sibling = "GPSLatitudeRef", .texts = kLatitudes}},
    PresenterRow{"GPSLongitude",              presentPosition,        {.sibling = "GPSLongitudeRef", .texts = kLongitudes}},
    PresenterRow{"GPSDestLatitude",           presentPosition,        {.sibling = "GPSDestLatitudeRef", .texts = kLatitudes}},
    PresenterRow{"GPSDestLongitude",          presentPosition,        {.sibling = "GPSDestLongitudeRef", .texts = kLongitudes}},
    PresenterRow{"GPSAltitude",               presentAltitude,        {.sibling = "GPSAltitudeRef", .codes = kBelowSeaLevel}},
    PresenterRow{"GPSAltitudeRef",            presentCodes,           {.codes = kAltitudeReferences}},
    PresenterRow{"GPSTimeStamp",              presentTimeOfDay},
    PresenterRow{"GPSStatus",                 presentTextCode,        {.texts = kGpsStatus}},
    PresenterRow{"GPSMeasureMode",            presentTextCode,        {.texts = kGpsMeasureModes}},
    PresenterRow{"GPSSpeed",                  presentReferredMeasure, {.sibling = "GPSSpeedRef", .texts = kSpeedUnits}},
    PresenterRow{"GPSSpeedRef",               presentTextCode,        {.texts = kSpeedUnits}},
    PresenterRow{"GPSTrack",                  presentDirection,       {.sibling = "GPSTrackRef", .texts = kDirections}},
    PresenterRow{"GPSTrackRef",               presentTextCode,        {.texts = kDirections}},
    PresenterRow{"GPSImgDirection",           presentDirection,       {.sibling = "GPSImgDirectionRef", .texts = kDirections}},
    PresenterRow{"GPSImgDirectionRef",        presentTextCode,        {.texts = kDirections}},
    PresenterRow{"GPSDestBearing",            presentDirection,       {.sibling = "GPSDestBearingRef", .texts = kDirections}},
    PresenterRow{"GPSDestBearingRef",         presentTextCode,        {.texts = kDirections}},
    PresenterRow{"GPSDestDistance",           presentReferredMeasure, {.sibling = "GPSDestDistanceRef", .texts = kDistanceUnits}},
    PresenterRow{"GPSDestDistanceRef",        presentTextCode,        {.texts = kDistanceUnits}},
    PresenterRow{"GPSProcessingMethod",       presentCodedText},
    PresenterRow{"GPSAreaInformation",        presentCodedText},
    PresenterRow{"GPSDifferential",           presentCodes,           {.codes = kDifferentials}},
    PresenterRow{"GPSHPositioningError",      presentMeasure,         {.unit = " m"}},

    // Texts that some systems write in UTF-16, tags 40091 to 40095.
    PresenterRow{"XPTitle",                   presentUtf16Text},
    PresenterRow{"XPComment",                 presentUtf16Text},
    PresenterRow{"XPAuthor",                  presentUtf16Text},
    PresenterRow{"XPKeywords",                presentUtf16Text},
    PresenterRow{"XPSubject",                 presentUtf16Text},
};
// clang-format on

/// The rows by name.
consteval auto ordered(auto rows) {
    std::sort(rows.begin(), rows.end(),
              [](const PresenterRow& a, const PresenterRow& b) { return a.field < b.field; });
    return rows;
}

constexpr auto kPresenters = ordered(kTopics);

static_assert(std::adjacent_find(kPresenters.begin(), kPresenters.end(),
                                 [](const PresenterRow& a, const PresenterRow& b) {
                                     return a.field == b.field;
                                 }) == kPresenters.end());

/// The row of a field; null where it has none.
const PresenterRow* rowOf(std::string_view fieldName) {
    const auto row = std::lower_bound(kPresenters.begin(), kPresenters.end(), fieldName,
                                      [](const PresenterRow& presenter, std::string_view name) {
                                          return presenter.field < name;
                                      });
    return row != kPresenters.end() && row->field == fieldName ? &*row : nullptr;
}

}  // namespace

std::vector<std::string_view> companionFields(std::string_view fieldName) {
    std::vector<std::string_view> companions;
    const PresenterRow* const row = rowOf(fieldName);
    if (row == nullptr || row->parameter.sibling.empty()) {
        return companions;
    }
    if (row->parameter.sibling != fieldName) {
        companions.push_back(row->parameter.sibling);
    }
    if (row->present == presentAbsentZero || row->present == presentAbsentColorType) {
        companions.push_back(kFormatField);
    }
    return companions;
}

std::vector<std::string_view> presentedFields() {
    std::vector<std::string_view> names;
    names.reserve(kPresenters.size());
    for (const PresenterRow& row : kPresenters) {
        names.push_back(row.field);
    }
    return names;
}

bool appendPresented(Output& output, std::string_view fieldName, const Value& value,
                     const Value& records, std::size_t element, const TextLimits& limits,
                     Described described) {
    const PresenterRow* const row = rowOf(fieldName);
    return row != nullptr &&
           row->present(output, {value, records, element, limits, described}, row->parameter);
}

}  // namespace ifdsweep
