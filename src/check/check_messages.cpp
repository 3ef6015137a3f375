#include "check/check_messages.h"

#include <array>

#include "ifdsweep/message_catalogue.h"

namespace ifdsweep {
namespace {

constexpr MessageTextRow row(CheckMessageId message, std::string_view text,
                             std::string_view explanation, std::string_view advice) {
    const CheckMessageRow& found = messageRow(message);
    return {found.id, found.arguments, text, explanation, advice};
}

// clang-format off
constexpr std::array kTexts{
    row(CheckMessageId::imageDataMissing,
     "the directory describes an image and leads to no data of one: it has no StripOffsets, TileOffsets or JPEGInterchangeFormat",
     "ImageWidth and ImageLength say that there is an image, and nothing says where it is. The entry may have been left out for damage, of which another warning tells.",
     "Look for the warning about the missing entry; ask the writer of the file for a whole one."),
    row(CheckMessageId::stripsAndTiles,
     "the directory describes both strips and tiles",
     "An image lies in strips or in tiles, never in both: readers differ in what they show. How many there should be is not checked.",
     "Write the image anew with one of the two, with the software that made it."),
    row(CheckMessageId::imageSizeZero,
     "the image has no size: ImageWidth {1}, ImageLength {2}",
     "An image has at least one pixel. Arguments: the width, the length; 0 also stands for one that the directory lacks.",
     "Compare the file with another copy; a directory without an image needs no ImageWidth."),
    row(CheckMessageId::rowsPerStripZero,
     "RowsPerStrip is 0, expected at least 1",
     "A strip has at least one row. How many strips there should be is not known.",
     "Compare the file with another copy, or write it anew."),
    row(CheckMessageId::tileSizeZero,
     "tiles have no size: TileWidth {1}, TileLength {2}",
     "A tile has at least one pixel. Arguments: the width, the length; 0 also stands for one that the directory lacks.",
     "Compare the file with another copy, or write it anew."),
    row(CheckMessageId::tileSizeUneven,
     "tiles are {1} x {2} pixels, expected multiples of 16",
     "The standard asks for multiples of 16 in both directions; many readers take others too. Arguments: TileWidth, TileLength.",
     "Nothing, if all who read the file can; otherwise write it anew with tiles of such a size."),
    row(CheckMessageId::imageDataNotChecked,
     "values too long to be loaded, so what they say is not checked: {1}",
     "--max-value leaves these values in the file. Argument: the names of the tags. Without --max-value they are checked.",
     "Read the file again without --max-value."),
    row(CheckMessageId::byteCountsMissing,
     "{1} are missing: how long the data are is not known",
     "The directory says where its strips or tiles are and not how long. Many readers guess it of a single uncompressed strip. Argument: the name of the missing tag.",
     "Write the image anew with the software that made it: another reader may refuse it."),
    row(CheckMessageId::imageDataCountMismatch,
     "the directory has {2} {1} offsets and {3} {1} byte counts, expected {4} of each",
     "Width, length, RowsPerStrip or the size of a tile, and PlanarConfiguration tell how many strips or tiles an image has. Arguments: \"strip\" or \"tile\", the offsets, the byte counts, how many there should be.",
     "Compare the file with another copy; some rows or tiles may not be readable."),
    row(CheckMessageId::imageDataPastEOF,
     "{3} of {4} {1}s reach past the end of the file, first {1} {2}: {6} bytes at position {5}",
     "As a rule the file was cut short, or written in part. Arguments: \"strip\" or \"tile\", the first such one, counted from 0, how many there are, of how many, the position of the first in the file, its bytes.",
     "Copy the file again and compare the sizes."),
    row(CheckMessageId::imageDataEmpty,
     "{3} of {4} {1}s have a position and no bytes, first {1} {2}",
     "A byte count of 0 says that there is nothing at the offset. Where offset and count are both 0, the part is left out on purpose, and nothing is said. Arguments: \"strip\" or \"tile\", the first such one, counted from 0, how many there are, of how many.",
     "Look at the image at this place: it may have a hole there. Compare the file with another copy."),
    row(CheckMessageId::imageDataUnplaced,
     "{3} of {4} {1}s have bytes and no position, first {1} {2}",
     "The offset is 0, where the header is: as a rule the file was never finished. Arguments: \"strip\" or \"tile\", the first such one, counted from 0, how many there are, of how many.",
     "Ask for the finished file."),
    row(CheckMessageId::imageDataOverlaps,
     "{4} {1}s overlap others, first {1} {2} overlaps {1} {3}",
     "Two of them have some bytes in common, so one of them is damaged; those that share all of their bytes are sound. Arguments: \"strip\" or \"tile\", the first in the file that begins inside another, the other, both counted from 0, how many there are.",
     "Look at the image at these places, and compare the file with another copy."),
    row(CheckMessageId::imageDataTooShort,
     "{3} of {4} {1}s have fewer bytes than their pixels take, first {1} {2}: {5} bytes, expected {6}",
     "The data are not compressed, so that their size follows from width, rows, bits and samples. Arguments: \"strip\" or \"tile\", the first such one, counted from 0, how many there are, of how many, the bytes of the first, those that it should have.",
     "Look at the image: its last rows may be missing. Compare the file with another copy."),
    row(CheckMessageId::bitsPerSampleCountMismatch,
     "BitsPerSample has {1} values, expected {2}",
     "There is one for each sample of a pixel. Arguments: the values, SamplesPerPixel, which is 1 unless the directory says otherwise.",
     "Compare the file with another copy, or write it anew."),
    row(CheckMessageId::extraSamplesTooMany,
     "ExtraSamples has {1} values, more than the {2} samples of a pixel",
     "There is one for each sample beyond the colours. Arguments: the values, SamplesPerPixel, which is 1 unless the directory says otherwise.",
     "Compare the file with another copy, or write it anew."),
    row(CheckMessageId::tooFewSamples,
     "PhotometricInterpretation {1} needs {3} samples in a pixel, and there are {2}",
     "2 is RGB, 6 is YCbCr. Arguments: the interpretation, SamplesPerPixel, which is 1 unless the directory says otherwise, the samples that it needs.",
     "Compare the file with another copy: one of the two values is damaged."),
    row(CheckMessageId::colorMapCountMismatch,
     "ColorMap has {1} values, expected {2}",
     "A palette image needs a red, a green and a blue for each value that a sample can have. Arguments: the values, 0 without a ColorMap; three times two to the power of BitsPerSample.",
     "Look at the colours of the image, and compare the file with another copy."),
    row(CheckMessageId::jpegTablesDamaged,
     "JPEGTables, {1} bytes, do not begin and end as JPEG data do",
     "They begin with FF D8 and end with FF D9, or no tile can be decoded. Argument: their size.",
     "Compare the file with another copy."),
    row(CheckMessageId::imageDataNotJpeg,
     "{3} of {4} {1}s do not begin as JPEG data do, first {1} {2}",
     "Compression 7 says that each is a JPEG image, which begins with FF D8. Of a file the first 4,096 strips and tiles are looked at. Arguments: \"strip\" or \"tile\", the first such one, counted from 0, how many there are, of how many that were looked at.",
     "Look at the image at this place, and compare the file with another copy."),
    row(CheckMessageId::jpegDataPastEOF,
     "the JPEG image at position {1}, {2} bytes, reaches past the end of the file",
     "As a rule it is a thumbnail, and the file was cut short. Arguments: the position in the file, JPEGInterchangeFormatLength, 0 where the directory lacks it.",
     "Copy the file again and compare the sizes."),
    row(CheckMessageId::jpegDataWithoutStart,
     "there is no JPEG image at position {1}",
     "JPEGInterchangeFormat points to data that do not begin with FF D8. Argument: the position in the file.",
     "Make the thumbnail anew if it is needed: as a rule software moved it and left the pointer behind."),
    row(CheckMessageId::jpegDataWithoutEnd,
     "the JPEG image at position {1}, {2} bytes, has no end",
     "Its last 4,096 bytes hold no end of image (FF D9): it was cut short or overwritten. Arguments: the position in the file, JPEGInterchangeFormatLength.",
     "Make the thumbnail anew if it is needed."),
    row(CheckMessageId::jpegWithoutImageData,
     "the JPEG file has no image data: its segments end at position {1}",
     "The file was cut short before its image data, or its segments are damaged. Argument: where they end.",
     "Copy the file again and compare the sizes."),
    row(CheckMessageId::jpegWithoutEnd,
     "the JPEG file has no end of image behind its image data at position {1}",
     "No end of image (FF D9) follows: the file was cut short, or its end was overwritten. Argument: where the image data begin.",
     "Look at the picture: its lower part may be missing. Copy the file again and compare the sizes."),
};
// clang-format on

static_assert(kTexts.size() == kCheckCatalogue.size());

}  // namespace

std::span<const MessageTextRow> checkTexts() noexcept {
    return kTexts;
}

}  // namespace ifdsweep
