// The host value of a tag.

#include <algorithm>
#include <cassert>
#include <utility>

#include "dict/number_conversion.h"
#include "dict/value_names.h"
#include "tag/special_tags.h"
#include "tag/tiff_tag.h"

namespace ifdsweep::module {

namespace {

OwnedValue sampleFormatName(double code) {
    return makeString(search_map(&sampleFormatNames, toLowBits<16>(code)));
}

OwnedValue doubleRow(const NumericValues& numbers) {
    OwnedValue row = makeNumericArray(1, numbers.size(), qxDOUBLE_CLASS);
    numbers.copyTo(qxGetDoubles(row.get()));
    return row;
}

}  // namespace

OwnedValue trim_nulls(std::string_view text) {
    const std::size_t end = text.find_last_not_of('\0');
    if (end == std::string_view::npos) {
        return makeCharArray(0, 0);
    }
    text = text.substr(0, end + 1);
    OwnedValue row = makeCharArray(1, text.size());
    std::transform(text.begin(), text.end(), qxGetChars(row.get()), [](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return static_cast<char16_t>(byte < 0x80 ? byte : 0xFF00 | byte);
    });
    return row;
}

OwnedValue TiffTag::getQxArray() {
    if (isPointerTag(tagId)) {
        return getQxArraySubIfds();
    }
    switch (tagId) {
        case kColorMap:
            return getQxArrayColormap();
        case kSampleFormat:
            return getQxArraySampleFormat();
        case kImageSourceData:
            return getQxArrayImageSourceData();
        default:
            break;
    }
    if (!valueName.empty()) {
        return trim_nulls(valueName);
    }
    if (!stringValue.empty()) {
        return trim_nulls(stringValue);
    }
    return numericValues.empty() ? OwnedValue() : doubleRow(numericValues);
}

OwnedValue TiffTag::getQxArraySubIfds() {
    if (tagId != kSubIfds) {
        assert(!subIfds.empty());
        return std::move(subIfds.front());
    }
    OwnedValue cells = makeCellRow(subIfds.size());
    for (std::size_t i = 0; i < subIfds.size(); ++i) {
        setCell(cells.get(), i, std::move(subIfds[i]));
    }
    return cells;
}

OwnedValue TiffTag::getQxArrayColormap() const {
    if (numericValues.empty()) {
        return OwnedValue();
    }
    // The values stand as all reds, all greens, all blues: the columns of the result, in storage
    // order. What is left over when the count is no multiple of 3 is dropped.
    constexpr double kFullIntensity = 65535.0;
    const std::size_t rows = numericValues.size() / 3;
    OwnedValue map = makeNumericArray(rows, 3, qxDOUBLE_CLASS);
    double* out = qxGetDoubles(map.get());
    numericValues.first(3 * rows).copyTo(out);
    std::transform(out, out + 3 * rows, out, [](double value) { return value / kFullIntensity; });
    return map;
}

OwnedValue TiffTag::getQxArraySampleFormat() const {
    if (isTooLong) {
        return OwnedValue();
    }
    if (numericValues.size() == 1) {
        return sampleFormatName(numericValues[0]);
    }
    OwnedValue cells = makeCellRow(numericValues.size());
    for (std::size_t i = 0; i < numericValues.size(); ++i) {
        setCell(cells.get(), i, sampleFormatName(numericValues[i]));
    }
    return cells;
}

OwnedValue TiffTag::getQxArrayImageSourceData() const {
    if (isTooLong) {
        return OwnedValue();
    }
    OwnedValue row = makeNumericArray(1, byteData.size(), qxUINT8_CLASS);
    std::copy(byteData.begin(), byteData.end(), qxGetUint8s(row.get()));
    return row;
}

OwnedValue TiffTag::getQxArrayUnknown() const {
    if (stringValue.empty()) {
        return doubleRow(numericValues);
    }
    return makeString(std::string(stringValue).c_str());
}

}  // namespace ifdsweep::module
