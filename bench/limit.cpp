// limit [--text | --directories | --call] FILE...: what reading tags costs at least.
//
// Reads the bytes that directories and values occupy with pread through a window of 64 KiB, parses
// every entry of every directory, nested ones too, and adds every value up as a double. With
// --text it prints every value as well; with --directories it leaves the values where they are,
// those of pointers apart; with --call it measures itself and prints the time.
// Nothing is kept, named or checked beyond what keeps it inside the file.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "support/call_report.h"

namespace {

constexpr std::size_t kWindowSize = 65536;
constexpr unsigned kMaximumDepth = 64;

// ------------------------------------------------------------------------------------- output

struct Text {
    std::array<char, kWindowSize> bytes;
    std::size_t used;
};

Text text;  // written to with --text alone

void flushText() {
    for (std::size_t done = 0; done < text.used;) {
        const ssize_t taken = write(STDOUT_FILENO, text.bytes.data() + done, text.used - done);
        if (taken <= 0) {
            break;
        }
        done += static_cast<std::size_t>(taken);
    }
    text.used = 0;
}

char* roomFor(std::size_t size) {
    if (text.bytes.size() - text.used < size) {
        flushText();
    }
    return text.bytes.data() + text.used;
}

template <class Number>
void printNumber(Number number) {
    constexpr std::size_t kLongest = 32;
    char* start = roomFor(kLongest);
    char* end = std::to_chars(start, start + kLongest - 1, number).ptr;
    *end++ = ' ';
    text.used += static_cast<std::size_t>(end - start);
}

void printBytes(const std::uint8_t* bytes, std::size_t size) {
    std::memcpy(roomFor(size), bytes, size);
    text.used += size;
}

// -------------------------------------------------------------------------------------- input

enum class Values : std::uint8_t {
    add,
    print,  // and add
    leave,  // where they are
};

struct File {
    int descriptor;
    std::uint64_t base;  // file position of the TIFF header
    bool big;
    bool swap;
    bool print;
    bool leave;
    double sum;
    std::uint64_t windowStart;
    std::size_t windowLength;
    std::array<std::uint8_t, kWindowSize> window;
};

/// The bytes at a file position, at most `size` of them, valid until the next call. `size` becomes
/// what there is.
const std::uint8_t* bytesAt(File& file, std::uint64_t position, std::size_t& size) {
    size = std::min(size, kWindowSize);
    const std::uint64_t into = position - file.windowStart;
    if (position < file.windowStart || into > file.windowLength ||
        file.windowLength - into < size) {
        const ssize_t got =
            pread(file.descriptor, file.window.data(), kWindowSize, static_cast<off_t>(position));
        file.windowStart = position;
        file.windowLength = got > 0 ? static_cast<std::size_t>(got) : 0;
        size = std::min(size, file.windowLength);
        return file.window.data();
    }
    return file.window.data() + into;
}

template <class Word>
Word wordAt(const std::uint8_t* bytes, bool swap) {
    Word word;
    std::memcpy(&word, bytes, sizeof word);
    if constexpr (sizeof word == 2) {
        return swap ? __builtin_bswap16(word) : word;
    } else if constexpr (sizeof word == 4) {
        return swap ? __builtin_bswap32(word) : word;
    } else if constexpr (sizeof word == 8) {
        return swap ? __builtin_bswap64(word) : word;
    } else {
        return word;
    }
}

/// An offset or a count: 8 bytes in a BigTIFF, otherwise 4.
std::uint64_t wideAt(const File& file, const std::uint8_t* bytes) {
    return file.big ? wordAt<std::uint64_t>(bytes, file.swap)
                    : wordAt<std::uint32_t>(bytes, file.swap);
}

// ------------------------------------------------------------------------------------- values

template <class Word, class Number>
void takeNumbers(File& file, const std::uint8_t* bytes, std::size_t count) {
    double sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const auto number =
            std::bit_cast<Number>(wordAt<Word>(bytes + i * sizeof(Word), file.swap));
        sum += static_cast<double>(number);
        if (file.print) {
            printNumber(number);
        }
    }
    file.sum += sum;
}

template <class Part>
void takeRationals(File& file, const std::uint8_t* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const auto numerator = std::bit_cast<Part>(wordAt<std::uint32_t>(bytes + 8 * i, file.swap));
        const auto denominator =
            std::bit_cast<Part>(wordAt<std::uint32_t>(bytes + 8 * i + 4, file.swap));
        const double number = static_cast<double>(numerator) / static_cast<double>(denominator);
        file.sum += number;
        if (file.print) {
            printNumber(number);
        }
    }
}

void takeText(File& file, const std::uint8_t* bytes, std::size_t count) {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        sum += bytes[i];
    }
    file.sum += static_cast<double>(sum);
    if (file.print) {
        printBytes(bytes, count);
    }
}

struct FieldType {
    std::size_t width;
    void (*take)(File&, const std::uint8_t*, std::size_t);
};

constexpr std::array<FieldType, 19> kTypes{{
    {0, nullptr},
    {1, takeNumbers<std::uint8_t, std::uint8_t>},
    {1, takeText},
    {2, takeNumbers<std::uint16_t, std::uint16_t>},
    {4, takeNumbers<std::uint32_t, std::uint32_t>},
    {8, takeRationals<std::uint32_t>},
    {1, takeNumbers<std::uint8_t, std::int8_t>},
    {1, takeNumbers<std::uint8_t, std::uint8_t>},
    {2, takeNumbers<std::uint16_t, std::int16_t>},
    {4, takeNumbers<std::uint32_t, std::int32_t>},
    {8, takeRationals<std::int32_t>},
    {4, takeNumbers<std::uint32_t, float>},
    {8, takeNumbers<std::uint64_t, double>},
    {4, takeNumbers<std::uint32_t, std::uint32_t>},
    {0, nullptr},
    {0, nullptr},
    {8, takeNumbers<std::uint64_t, std::uint64_t>},
    {8, takeNumbers<std::uint64_t, std::int64_t>},
    {8, takeNumbers<std::uint64_t, std::uint64_t>},
}};

/// Takes a value window by window.
void takeValue(File& file, const FieldType& type, std::uint64_t position, std::uint64_t count) {
    while (count > 0) {
        std::size_t size = std::min<std::uint64_t>(count, kWindowSize / type.width) * type.width;
        const std::uint8_t* bytes = bytesAt(file, position, size);
        const std::size_t items = size / type.width;
        if (items == 0) {
            return;
        }
        type.take(file, bytes, items);
        position += items * type.width;
        count -= items;
    }
}

// -------------------------------------------------------------------------------- directories

void takeChain(File& file, std::uint64_t position, unsigned depth, bool follow);

/// Follows the offsets of a pointer entry.
void takePointers(File& file, std::uint16_t tag, std::uint64_t position, std::uint64_t count,
                  unsigned depth) {
    constexpr std::uint16_t kSubIfds = 330;
    for (std::uint64_t i = 0; i < count; ++i) {
        std::size_t size = 4;
        const std::uint8_t* bytes = bytesAt(file, position + 4 * i, size);
        if (size < 4) {
            return;
        }
        takeChain(file, file.base + wordAt<std::uint32_t>(bytes, file.swap), depth + 1,
                  tag == kSubIfds);
    }
}

void takeEntry(File& file, std::uint64_t position, const std::uint8_t* entry, unsigned depth) {
    const std::size_t valueField = file.big ? 12 : 8;
    const std::size_t offsetSize = file.big ? 8 : 4;
    const auto tag = wordAt<std::uint16_t>(entry, file.swap);
    const auto code = wordAt<std::uint16_t>(entry + 2, file.swap);
    const std::uint64_t count = wideAt(file, entry + 4);
    if (code >= kTypes.size() || kTypes[code].width == 0) {
        return;
    }
    const FieldType& type = kTypes[code];
    if (file.print) {
        printNumber(tag);
    }
    const bool isInline = count <= offsetSize / type.width;
    const std::uint64_t place =
        isInline ? position + valueField : file.base + wideAt(file, entry + valueField);
    if (tag == 330 || tag == 34665 || tag == 34853 || tag == 40965) {
        if (depth < kMaximumDepth) {
            takePointers(file, tag, place, count, depth);
        }
    } else if (file.leave) {
        file.sum += tag;
    } else if (isInline) {
        type.take(file, entry + valueField, count);
    } else {
        takeValue(file, type, place, count);
    }
    if (file.print) {
        *roomFor(1) = '\n';
        ++text.used;
    }
}

void takeChain(File& file, std::uint64_t position, unsigned depth, bool follow) {
    const std::size_t countSize = file.big ? 8 : 2;
    const std::size_t entrySize = file.big ? 20 : 12;
    do {
        std::size_t size = countSize;
        const std::uint8_t* bytes = bytesAt(file, position, size);
        if (size < countSize) {
            return;
        }
        const std::uint64_t entries = file.big ? wordAt<std::uint64_t>(bytes, file.swap)
                                               : wordAt<std::uint16_t>(bytes, file.swap);
        position += countSize;
        for (std::uint64_t i = 0; i < entries; ++i, position += entrySize) {
            size = entrySize;
            bytes = bytesAt(file, position, size);
            if (size < entrySize) {
                return;
            }
            takeEntry(file, position, bytes, depth);
        }
        size = file.big ? 8 : 4;
        bytes = bytesAt(file, position, size);
        const std::uint64_t next = size == 0 ? 0 : wideAt(file, bytes);
        position = file.base + next;
        follow = follow && next != 0;
    } while (follow);
}

/// The position of the TIFF header in a JPEG; 0 when there is none.
std::uint64_t exifPosition(File& file) {
    constexpr std::uint8_t kApp1 = 0xE1;
    for (std::uint64_t position = 2;;) {
        std::size_t size = 10;
        const std::uint8_t* marker = bytesAt(file, position, size);
        if (size < 10 || marker[0] != 0xFF) {
            return 0;
        }
        if (marker[1] == kApp1 && std::memcmp(marker + 4, "Exif\0", 6) == 0) {
            return position + 10;
        }
        position += 2U + static_cast<std::uint64_t>(marker[2] << 8U | marker[3]);
    }
}

double take(const char* path, Values values) {
    static File file;
    file.descriptor = open(path, O_RDONLY | O_CLOEXEC);
    if (file.descriptor < 0) {
        return 0;
    }
    file.print = values == Values::print;
    file.leave = values == Values::leave;
    file.base = 0;
    file.sum = 0;
    file.windowStart = 0;
    file.windowLength = 0;
    std::size_t size = 16;
    const std::uint8_t* header = bytesAt(file, 0, size);
    if (size >= 8 && header[0] == 0xFF && header[1] == 0xD8) {
        file.base = exifPosition(file);
        size = 8;
        header = bytesAt(file, file.base, size);
    }
    if (size >= 8) {
        file.swap = header[0] == 'M';
        file.big = wordAt<std::uint16_t>(header + 2, file.swap) == 43;
        takeChain(file, file.base + wideAt(file, header + (file.big ? 8 : 4)), 0, true);
    }
    close(file.descriptor);
    return file.sum;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    const std::string_view option = argumentCount > 1 ? arguments[1] : "";
    const int firstFile = option.starts_with("--") ? 2 : 1;
    const Values values = option == "--text"          ? Values::print
                          : option == "--directories" ? Values::leave
                                                      : Values::add;
    const auto takeAll = [&] {
        double sum = 0;
        for (int i = firstFile; i < argumentCount; ++i) {
            sum += take(arguments[i], values);
        }
        return sum;
    };
    if (option == "--call") {
        volatile double kept = 0;
        bench::reportCalls(1, [&] { kept = takeAll(); });
    } else if (option == "--text") {
        static_cast<void>(takeAll());
        flushText();
    } else {
        printNumber(takeAll());
        flushText();
    }
    return 0;
}
