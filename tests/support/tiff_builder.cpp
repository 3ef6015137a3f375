#include "support/tiff_builder.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace fixture {
namespace {

/// Appends directories to a file and writes the offsets that lead to them.
class Writer {
public:
    Writer(TiffFile& tiffFile, std::size_t dataGap) : file(tiffFile), gap(dataGap) {}

    void header(std::uint16_t version) {
        const std::uint8_t mark = file.format.byteOrder == ByteOrder::little ? 0x49 : 0x4D;
        file.bytes.insert(file.bytes.end(), {mark, mark});
        append(2, version);
        if (file.format.isBig()) {
            append(2, 8);
            append(2, 0);
        }
        append(file.format.offsetSize(), 0);
    }

    /// Writes a chain and returns the offset of its first directory.
    std::uint64_t chain(const Chain& directories) {
        static const Chain kNoEntries{Directory{}};
        const Chain& list = directories.empty() ? kNoEntries : directories;
        std::uint64_t first = 0;
        constexpr std::size_t kNowhere = 0;
        std::size_t previousNext = kNowhere;
        for (const Directory& each : list) {
            const std::size_t place = directory(each);
            const std::uint64_t offset = file.offsetOf(file.places[place].position);
            if (first == 0) {
                first = offset;
            }
            if (previousNext != kNowhere) {
                file.setOffset(previousNext, offset);
            }
            previousNext = each.next ? kNowhere : file.places[place].next;
        }
        return first;
    }

private:
    std::size_t directory(const Directory& source) {
        align();
        const std::size_t index = file.places.size();
        Place place;
        place.position = file.bytes.size();
        append(file.format.entryCountSize(), source.entryCount.value_or(source.entries.size()));
        for (std::size_t i = 0; i < source.entries.size(); ++i) {
            place.entries.push_back(file.bytes.size() + i * file.format.entrySize());
        }
        file.bytes.resize(file.bytes.size() + source.entries.size() * file.format.entrySize());
        place.next = file.bytes.size();
        append(file.format.offsetSize(), source.next.value_or(0));
        place.data.resize(source.entries.size());
        file.places.push_back(place);
        for (std::size_t i = 0; i < source.entries.size(); ++i) {
            file.places[index].data[i] = entry(place.entries[i], source.entries[i]);
        }
        return index;
    }

    /// Fills an entry and returns the position of its data.
    std::size_t entry(std::size_t position, const Entry& source) {
        const std::size_t valueField = position + file.format.valuePosition();
        set(position, 2, source.tag);
        set(position + 2, 2, source.type);
        set(position + 4, file.format.isBig() ? 8 : 4, source.count);
        std::size_t data = valueField;
        if (source.items.size() * source.itemSize > file.format.offsetSize()) {
            file.bytes.resize(file.bytes.size() + gap);
            align();
            data = file.bytes.size();
            file.bytes.resize(data + source.items.size() * source.itemSize);
            set(valueField, file.format.offsetSize(), file.offsetOf(data));
        }
        for (std::size_t i = 0; i < source.items.size(); ++i) {
            const std::uint64_t item =
                i < source.chains.size() ? chain(source.chains[i]) : source.items[i];
            set(data + i * source.itemSize, source.itemSize, item);
        }
        if (source.valueField) {
            set(valueField, file.format.offsetSize(), *source.valueField);
        }
        return data;
    }

    void align() {
        if (file.offsetOf(file.bytes.size()) % 2 != 0) {
            file.bytes.push_back(0);
        }
    }
    void append(std::size_t width, std::uint64_t value) {
        appendWord(file.bytes, width, value, file.format.byteOrder);
    }
    void set(std::size_t position, std::size_t width, std::uint64_t value) {
        setWord(file.bytes, position, width, value, file.format.byteOrder);
    }

    TiffFile& file;
    std::size_t gap;
};

std::size_t itemSizeOf(std::uint16_t type) {
    switch (type) {
        case kShort:
        case kSShort:
            return 2;
        case kLong:
        case kSLong:
        case kRational:
        case kSRational:
        case kFloat:
        case kIfd:
            return 4;
        case kDouble:
        case kLong8:
        case kSLong8:
        case kIfd8:
            return 8;
        default:
            return 1;
    }
}

bool isRational(std::uint16_t type) {
    return type == kRational || type == kSRational;
}

template <class Bits, class Value>
Entry floating(std::uint16_t tag, std::uint16_t type, const std::vector<Value>& values) {
    std::vector<std::int64_t> patterns;
    for (const Value value : values) {
        patterns.push_back(static_cast<std::int64_t>(std::bit_cast<Bits>(value)));
    }
    return numbers(tag, type, patterns);
}

}  // namespace

Entry Entry::withType(std::uint16_t code) const {
    Entry copy = *this;
    copy.type = code;
    return copy;
}

Entry Entry::withCount(std::uint64_t declared) const {
    Entry copy = *this;
    copy.count = declared;
    return copy;
}

Entry Entry::withValueField(std::uint64_t field) const {
    Entry copy = *this;
    copy.valueField = field;
    return copy;
}

Directory Directory::withEntryCount(std::uint64_t declared) const {
    Directory copy = *this;
    copy.entryCount = declared;
    return copy;
}

Directory Directory::withNext(std::uint64_t offset) const {
    Directory copy = *this;
    copy.next = offset;
    return copy;
}

Entry numbers(std::uint16_t tag, std::uint16_t type, const std::vector<std::int64_t>& values) {
    Entry entry;
    entry.tag = tag;
    entry.type = type;
    entry.count = isRational(type) ? values.size() / 2 : values.size();
    entry.itemSize = itemSizeOf(type);
    entry.items.assign(values.begin(), values.end());
    return entry;
}

Entry shorts(std::uint16_t tag, const std::vector<std::int64_t>& values) {
    return numbers(tag, kShort, values);
}

Entry longs(std::uint16_t tag, const std::vector<std::int64_t>& values) {
    return numbers(tag, kLong, values);
}

Entry floats(std::uint16_t tag, const std::vector<float>& values) {
    return floating<std::uint32_t>(tag, kFloat, values);
}

Entry doubles(std::uint16_t tag, const std::vector<double>& values) {
    return floating<std::uint64_t>(tag, kDouble, values);
}

Entry ascii(std::uint16_t tag, std::string_view text) {
    return numbers(tag, kAscii, std::vector<std::int64_t>(text.begin(), text.end()));
}

Entry pointer(std::uint16_t tag, std::vector<Chain> chains, std::uint16_t type) {
    Entry entry = numbers(tag, type, std::vector<std::int64_t>(chains.size()));
    entry.chains = std::move(chains);
    return entry;
}

void TiffFile::setOffset(std::size_t position, std::uint64_t value) {
    setWord(bytes, position, format.offsetSize(), value, format.byteOrder);
}

TiffBuilder& TiffBuilder::add(Directory directory) {
    primary.push_back(std::move(directory));
    return *this;
}

TiffBuilder& TiffBuilder::withVersion(std::uint16_t word) {
    version = word;
    return *this;
}

TiffBuilder& TiffBuilder::withFirstOffset(std::uint64_t offset) {
    firstOffset = offset;
    return *this;
}

TiffBuilder& TiffBuilder::withGaps(std::size_t size) {
    gap = size;
    return *this;
}

TiffFile TiffBuilder::build() const {
    return buildBehind({});
}

TiffFile TiffBuilder::buildBehind(const Bytes& prefix) const {
    TiffFile file;
    file.format = format;
    file.bytes = prefix;
    file.base = prefix.size();
    Writer writer(file, gap);
    writer.header(version.value_or(format.isBig() ? 43 : 42));
    const std::size_t offsetField = file.bytes.size() - format.offsetSize();
    const std::uint64_t first = primary.empty() ? 0 : writer.chain(primary);
    file.setOffset(offsetField, firstOffset.value_or(first));
    return file;
}

TiffFile TiffBuilder::buildInJpeg() const {
    const Bytes segment{0xFF, 0xD8, 0xFF, 0xE1, 0, 0, 'E', 'x', 'i', 'f', 0, 0};
    constexpr std::size_t kLengthPosition = 4;
    TiffFile file = buildBehind(segment);
    // A stream too long for its segment keeps the largest length that can be written.
    const std::size_t length = std::min<std::size_t>(file.bytes.size() - kLengthPosition, 0xFFFF);
    setWord(file.bytes, kLengthPosition, 2, length, ByteOrder::big);
    file.bytes.insert(file.bytes.end(), {0xFF, 0xD9});
    return file;
}

}  // namespace fixture
