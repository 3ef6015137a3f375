// Where fields stand: pointers, the Exif directory, the others, what has no name.

#include "read/field_places.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

using ifdsweep::FieldPlace;

/// The place of what a word chooses, which is one field.
FieldPlace placeOf(const char* word) {
    const ifdsweep::TagChoice choice = ifdsweep::chooseTags(word);
    EXPECT_EQ(choice.complaint, "");
    EXPECT_EQ(choice.fields.size(), 1U) << word;
    return ifdsweep::FieldPlaces().of(choice.fields.at(0));
}

TEST(FieldPlaces, FollowFromNameAndNumber) {
    const std::pair<const char*, FieldPlace> rows[] = {
        {"Make", FieldPlace::anyDirectory},
        {"271", FieldPlace::anyDirectory},
        {"Width", FieldPlace::anyDirectory},
        {"Filename", FieldPlace::anyDirectory},
        {"DateTime", FieldPlace::anyDirectory},
        {"65000", FieldPlace::anyDirectory},
        {"DateTimeOriginal", FieldPlace::exifDirectory},
        {"FNumber", FieldPlace::exifDirectory},
        {"33434", FieldPlace::exifDirectory},
        {"ISOSpeedRatings", FieldPlace::exifDirectory},
        {"ExifVersion", FieldPlace::exifDirectory},
        {"SubsecTime", FieldPlace::exifDirectory},
        {"ImageUniqueID", FieldPlace::exifDirectory},
        {"42036", FieldPlace::exifDirectory},
        {"0xA500", FieldPlace::exifDirectory},
        {"GPSVersionID", FieldPlace::nestedDirectory},
        {"GPSLatitude", FieldPlace::nestedDirectory},
        {"31", FieldPlace::nestedDirectory},
        {"InteroperabilityIndex", FieldPlace::nestedDirectory},
        {"4097", FieldPlace::nestedDirectory},
        {"SubIFDs", FieldPlace::directories},
        {"330", FieldPlace::directories},
        {"DigitalCamera", FieldPlace::directories},
        {"GPSInfo", FieldPlace::directories},
        {"34853", FieldPlace::directories},
        {"InteroperabilityIFD", FieldPlace::directories},
        {"UnknownTags", FieldPlace::unknownTags},
    };
    for (const auto& [word, place] : rows) {
        EXPECT_EQ(placeOf(word), place) << word;
    }
}

}  // namespace
