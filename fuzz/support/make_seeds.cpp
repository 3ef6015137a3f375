// Writes the seeds of every fuzz target: TIFF streams of the test builder in both layouts and byte
// orders, the project's samples, and short pieces of noise for the targets that make values of any
// bytes.
//
//   ifdsweep_make_seeds FOLDER [SAMPLE FILE...]

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "io/packed.h"
#include "support/box_builder.h"
#include "support/chunk_builder.h"
#include "support/compressed_bytes.h"
#include "support/jpeg_builder.h"
#include "support/psd_builder.h"
#include "support/tiff_builder.h"
#include "support/whole_file.h"
#include "workers/worker_messages.h"

namespace {

namespace fs = std::filesystem;
using fixture::Bytes;
using fixture::Chain;
using fixture::Format;

/// Writes numbered files to the folder of one target.
class SeedFolder {
public:
    explicit SeedFolder(fs::path path) : folder(std::move(path)) { fs::create_directories(folder); }

    void add(const Bytes& bytes) {
        fixture::writeFile(folder / ("seed_" + std::to_string(count++)), bytes);
    }

private:
    fs::path folder;
    std::size_t count = 0;
};

std::vector<Chain> chains() {
    using namespace fixture;
    const Directory image{shorts(256, {40}),
                          shorts(257, {30}),
                          shorts(258, {8, 8, 8}),
                          shorts(259, {5}),
                          shorts(262, {2}),
                          ascii(270, std::string_view("chart\0", 6)),
                          longs(273, {8, 16, 24}),
                          shorts(277, {3}),
                          numbers(282, kRational, {72, 1}),
                          numbers(283, kRational, {1, 0}),
                          ascii(306, std::string_view("2024:05:17 09:30:00\0", 20)),
                          shorts(339, {1, 2, 3})};
    const Directory exif{numbers(33434, kRational, {1, 250}),
                         shorts(34850, {2}),
                         numbers(36864, kUndefined, {48, 50, 51, 50}),
                         shorts(37383, {5}),
                         numbers(37380, kSRational, {-1, 3}),
                         pointer(40965, {{{ascii(1, std::string_view("R98\0", 4))}}})};
    const Directory gps{numbers(0, kByte, {2, 3, 0, 0}), ascii(1, std::string_view("N\0", 2)),
                        numbers(2, kRational, {51, 1, 28, 1, 40, 1})};
    const Directory page{shorts(256, {7}), doubles(60000, {0.5, -1}), floats(60001, {1.5F}),
                         numbers(60002, kLong8, {1, 2}), numbers(60003, kSLong8, {-5, 7})};
    std::vector<std::int64_t> ramp(24);
    for (std::size_t i = 0; i < ramp.size(); ++i) {
        ramp[i] = static_cast<std::int64_t>(i * 2849);
    }
    const Directory special{shorts(320, ramp),
                            numbers(700, kByte, {'<', 'x', '>', 0xE9, 0x1B}),
                            numbers(34675, kUndefined, ramp),
                            numbers(37724, kShort, ramp),
                            shorts(290, {3}),
                            ascii(33432, "\xA9 \xE2\x80\xAE\x1B[2J")};
    Directory main = image;
    main.entries.push_back(pointer(330, {{image, page}, {page}}));
    main.entries.push_back(pointer(34665, {{exif}}));
    main.entries.push_back(pointer(34853, {{gps}}));
    return {{image},
            {main, page},
            {special},
            {page, page, page},
            {{{pointer(330, {{{pointer(330, {{{pointer(330, {{page}})}}})}}})}}},
            {page.withNext(8), page},
            {page.withEntryCount(3)},
            {{numbers(60000, kNoType, {1}), shorts(258, {}), shorts(259, {1}).withCount(1U << 31),
              numbers(60001, 14, {1}), longs(330, {0}), pointer(34853, {{main}})}}};
}

fixture::TiffBuilder builderOf(Format format, const Chain& chain) {
    fixture::TiffBuilder builder(format);
    for (const fixture::Directory& directory : chain) {
        builder.add(directory);
    }
    return builder;
}

/// The bytes that choose a case, then a text.
Bytes prefixed(Bytes choice, std::string_view text) {
    choice.insert(choice.end(), text.begin(), text.end());
    return choice;
}

/// A case of the whole call: the bytes that choose layout and numbers, then the stream.
Bytes wholeCall(std::uint8_t layout, std::uint8_t first, std::uint8_t max, const Bytes& stream) {
    constexpr std::uint8_t kFindOffset = 0;
    constexpr std::uint8_t kLargestBudget = 255;
    Bytes bytes{layout, kFindOffset, first, max, kLargestBudget, 1};
    bytes.insert(bytes.end(), stream.begin(), stream.end());
    return bytes;
}

void addStreams(SeedFolder& wholeCalls, SeedFolder& jpegs) {
    constexpr std::uint8_t kJpeg = 2;
    constexpr std::uint8_t kBigEndian = 4;
    for (const auto layout : {fixture::Layout::classic, fixture::Layout::big}) {
        for (const auto order : {fixture::ByteOrder::little, fixture::ByteOrder::big}) {
            const Format format{layout, order};
            const auto swap = order == fixture::ByteOrder::big ? kBigEndian : std::uint8_t{0};
            const auto code = static_cast<std::uint8_t>(swap | (format.isBig() ? 1U : 0U));
            for (const Chain& chain : chains()) {
                const auto builder = builderOf(format, chain);
                const Bytes stream = builder.build().bytes;
                wholeCalls.add(wholeCall(code, 0, 0, stream));
                wholeCalls.add(wholeCall(code, 1, 1, stream));
                if (!format.isBig()) {
                    wholeCalls.add(
                        wholeCall(static_cast<std::uint8_t>(kJpeg | swap), 0, 0, stream));
                    jpegs.add(builder.buildInJpeg().bytes);
                }
            }
        }
    }
}

void addJpegs(SeedFolder& folder) {
    const Bytes exif = builderOf(Format{}, chains().front()).buildInJpeg().bytes;
    const std::vector<Bytes> prefixes{
        {0xFF, 0xE0, 0, 4, 'J', 'F'},                      // a segment before
        {0xFF, 0xE1, 0, 8, 'h', 't', 't', 'p', ':', '/'},  // another APP1
        {0xFF, 0xFF, 0xFF, 0xD0, 0, 0},                    // fill bytes, a marker alone, padding
        {0xFF, 0xDA, 0, 2},                                // image data
        {0xFF, 0xE2, 0, 1},                                // a length that cannot be
    };
    for (const Bytes& prefix : prefixes) {
        Bytes jpeg = exif;
        jpeg.insert(jpeg.begin() + 2, prefix.begin(), prefix.end());
        folder.add(jpeg);
    }
}

/// The TIFF streams of small files in both byte orders.
std::vector<Bytes> smallStreams() {
    return {
        builderOf({fixture::Layout::classic, fixture::ByteOrder::little}, chains().front())
            .build()
            .bytes,
        builderOf({fixture::Layout::classic, fixture::ByteOrder::big}, chains().front())
            .build()
            .bytes,
    };
}

/// Brotli (RFC 7932) of 1 to 65,536 bytes: a window of 64 KiB, one piece that is stored, the end.
Bytes storedBrotli(const Bytes& content) {
    constexpr std::uint64_t kIsStored = 1U << 20U;
    Bytes bytes;
    fixture::appendWord(bytes, 3, kIsStored | (content.size() - 1) << 4U,
                        fixture::ByteOrder::little);
    return fixture::joined({bytes, content, {0x03}});
}

/// JPEG XL files: the streams as they are and in brotli, which stores them, before the codestream
/// and behind it, in boxes of all forms.
void addJpegXl(SeedFolder& folder) {
    using namespace fixture;
    const Bytes start = joined({box("JXL ", bytesOf("\r\n\x87\n")), fileTypeBox("jxl ", {"jxl "})});
    const Bytes codestream = box("jxlc", {0xFF, 0x0A, 0, 0x10});
    for (const Bytes& stream : smallStreams()) {
        const Bytes content = joined({bigEndian(4, 0), stream});
        const Bytes compressed = joined({bytesOf("Exif"), storedBrotli(content)});
        const Bytes behindSignature = joined({bigEndian(4, 6), bytesOf("Exif"), {0, 0}, stream});
        folder.add(joined({start, box("Exif", content), codestream}));
        folder.add(joined({start, codestream, largeBox("Exif", behindSignature)}));
        folder.add(joined({start, box("jxlp", {0, 0, 0, 0}), box("brob", compressed),
                           box("jxlp", {0x80, 0, 0, 1}), openBox("Exif", content)}));
    }
    const Bytes empty = joined({bytesOf("Exif"), storedBrotli(bigEndian(4, 0))});
    folder.add(joined({start, box("brob", joined({bytesOf("brob"), empty})), codestream}));
    folder.add(joined({start, lyingBox("brob", 0xFFFF, empty)}));
    folder.add(joined({start, openBox("jxlc", {0xFF, 0x0A})}));
}

/// JPEG 2000 files: each UUID, in boxes of all forms and in other boxes.
void addJpeg2000(SeedFolder& folder) {
    using namespace fixture;
    const Bytes start = joined({box("jP  ", bytesOf("\r\n\x87\n")), fileTypeBox("jp2 ", {"jp2 "})});
    const Bytes codestream = box("jp2c", {0xFF, 0x4F, 0xFF, 0x51});
    const Bytes exif = bytesOf("JpgTiffExif->JP2");
    const Bytes plugIn =
        bytesOf("\x05\x37\xCD\xAB\x9D\x0C\x44\x31\xA7\x2A\xFA\x56\x1F\x2A\x11\x3E");
    const Bytes geo = bytesOf("\xB1\x4B\xF8\xBD\x08\x3D\x4B\x43\xA5\xAE\x8C\xD7\xD5\xA6\xCE\x03");
    for (const Bytes& stream : smallStreams()) {
        folder.add(joined({start, uuidBox(exif, stream), codestream}));
        folder.add(joined({start, uuidBox(geo, stream), codestream, uuidBox(plugIn, stream)}));
        folder.add(joined({start, codestream, largeBox("uuid", joined({exif, stream}))}));
        folder.add(joined({start, box("asoc", joined({box("lbl ", {'a'}), uuidBox(geo, stream)})),
                           openBox("uuid", joined({exif, stream}))}));
        folder.add(joined({start, openBox("asoc", box("uinf", uuidBox(exif, stream)))}));
    }
    folder.add(joined({start, lyingBox("asoc", 0xFFFF, uuidBox(exif, {'I', 'I', 42, 0}))}));
    folder.add(joined({start, openBox("jp2c", {0xFF, 0x4F})}));
}

/// PNG files: the streams in chunks of each type, before the image data and behind them.
void addPng(SeedFolder& folder) {
    using namespace fixture;
    const Bytes data = pngChunk("IDAT", {0x78, 0x01});
    const Bytes end = pngChunk("IEND", {});
    constexpr std::string_view kExif = "Raw profile type exif";
    constexpr std::string_view kApp1 = "Raw profile type APP1";
    for (const Bytes& stream : smallStreams()) {
        const Bytes profile = bytesOf(rawProfile(stream));
        const Bytes zlib = zlibCompressed(profile);
        folder.add(pngFile({pngChunk("eXIf", stream), data, end}));
        folder.add(
            pngFile({data, data, pngChunk("eXIf", joined({bytesOf("Exif"), {0, 0}, stream}))}));
        folder.add(pngFile(
            {pngChunk("zxIf", joined({{0}, bigEndian(4, stream.size()), zlibCompressed(stream)})),
             data, end}));
        folder.add(pngFile({textChunk(kExif, profile), textChunk(kApp1, profile), data, end}));
        folder.add(pngFile({compressedTextChunk(kExif, zlib), data, end}));
        folder.add(pngFile({internationalTextChunk(kApp1, {.language = "de"}, profile),
                            internationalTextChunk(kExif, {.flag = 1, .translated = "x"}, zlib),
                            data, pngChunk("eXIf", stream, 0xFFFF)}));
    }
    folder.add(pngFile({textChunk(kApp1, bytesOf(rawProfile(bytesOf("http://ns"), "APP1"))), end}));
}

/// WebP files: the streams behind the image and before it, with all that may be odd.
void addWebp(SeedFolder& folder) {
    using namespace fixture;
    const Bytes extended = riffChunk("VP8X", Bytes(10, 0));
    const Bytes image = riffChunk("VP8 ", {0, 0, 0, 0x9D, 1});
    const Bytes unpadded = riffChunk("VP8L", {0x2F}, {}, Padding::none);
    const Bytes frame = riffChunk("ANMF", {0, 0});
    for (const Bytes& stream : smallStreams()) {
        const Bytes exif = riffChunk("EXIF", stream);
        folder.add(webpFile({extended, image, exif}));
        folder.add(webpFile(
            {extended, unpadded, riffChunk("EXIF", joined({bytesOf("Exif"), {0, 0}, stream}))}));
        folder.add(webpFile({extended, exif, frame, frame, exif}));
        folder.add(webpFile({unpadded, exif}, 0));
        folder.add(webpFile({riffChunk("EXIF", stream, 0xFFFF)}, 0xFFFF));
    }
}

/// A TIFF stream of a small directory.
Bytes smallStream(fixture::ByteOrder order) {
    return builderOf(Format{fixture::Layout::classic, order}, chains().front()).build().bytes;
}

/// JPEG files with split Exif data, several streams, and other pictures.
std::vector<Bytes> jpegsOfManyStreams() {
    using namespace fixture;
    std::vector<Bytes> files;
    for (const auto order : {ByteOrder::little, ByteOrder::big}) {
        const Bytes stream = smallStream(order);
        const Bytes exif = exifSegment(stream);
        const Bytes comment = jpegSegment(0xFE, {'a'});
        files.push_back(jpegOf({splitExif(stream, 60), comment}));
        files.push_back(jpegOf({comment, exif, comment, exifSegment({1, 2, 3}), exif}));
        files.push_back(jpegWithPictures({exif}, {jpegOf({exif}), jpegOf({comment})}, order));
        files.push_back(joined({jpegOf({exif, pictureIndex({0, 8, 100}, order)}), jpegOf({exif})}));
    }
    return files;
}

void addRafs(SeedFolder& folder) {
    for (const Bytes& jpeg : jpegsOfManyStreams()) {
        folder.add(fixture::rafOf(jpeg, smallStream(fixture::ByteOrder::little)));
        folder.add(fixture::rafOf(jpeg, {1, 2, 3, 4}));
    }
}

void addPsds(SeedFolder& folder) {
    using namespace fixture;
    for (const auto order : {ByteOrder::little, ByteOrder::big}) {
        const Bytes stream = smallStream(order);
        const PsdResource exif{.id = 1058, .data = stream};
        const PsdResource other{.id = 1005, .data = {1, 2, 3}, .name = "name"};
        const PsdResource third{.id = 1059, .data = stream, .signature = "MeSa"};
        folder.add(psdOf({.resources = {exif}}));
        folder.add(psdOf(
            {.version = 2, .colours = {1, 2, 3, 4}, .resources = {other, exif, third, exif}}));
        folder.add(
            psdOf({.resources = {other, {.id = 1058, .data = stream, .size = 0xFFFFFFF0U}}}));
        folder.add(psdOf({.resources = {other}, .coloursSize = 0xFFFFFFFFU}));
    }
}

void addNames(SeedFolder& folder) {
    for (const std::string_view name :
         {"plain.tif", "\xC3\xA9.tif", "\xF0\x9F\x98\x80", "\xFF\xFE", "\xED\xA0\x80\xED\xB2\x80",
          "\xF4\x90\x80\x80", "a\xC0\x80", "\x3D\xD8\x00\xDE", "\x00\xD8\x80\xDC", "\x80\xDC"}) {
        for (const std::uint8_t form : {std::uint8_t{0}, std::uint8_t{1}}) {
            folder.add(prefixed({form}, name));
        }
    }
}

/// Messages of workers and of the main process, each as it comes out of a socket.
void addMessages(SeedFolder& folder) {
    const auto add = [&folder](const std::string& message) {
        folder.add(Bytes(message.begin() + ifdsweep::packed::kNumberSize, message.end()));
    };
    ifdsweep::FileReport report;
    ifdsweep::FilePart part;
    add(ifdsweep::packAnswer(0, report, part));
    report.isShown = true;
    part.bytes = "{}\n";
    add(ifdsweep::packAnswer(1, report, part));
    report = ifdsweep::failureReport("why (id)");
    report.warnings = {{"Velmora:a", 1}, {"Velmora:b", 300}};
    report.directories = 3;
    add(ifdsweep::packAnswer(2, report, ifdsweep::FilePart()));
    ifdsweep::InputFile file;
    file.path = "a/b.tif";
    add(ifdsweep::packRequest(3, file));
    ifdsweep::WorkerSetup setup;
    add(ifdsweep::packSetup(setup));
    setup.task.output.fields = {{"Make", {}}, {"50000", 50000}};
    setup.task.output.ignored = {"Velmora:a"};
    add(ifdsweep::packSetup(setup));
}

/// Journals: any file, what follows a head, and runs of our own.
void addJournals(SeedFolder& folder) {
    const std::string head = "ifdsweep journal 2\nifdsweep 1\n--format json\n\n";
    const std::string notes = "o 1 2 3 4 7\nl 1 3 3 4\n";
    const std::string files =
        "r 10 0 0 0 0 /dev/null/a\nw 20 0 5 -1 9 /dev/null/b\n"
        "f 30 6 0 0 0 /dev/null/c\\n\\t\\\\\twhy\ns 30 6 0 0 0 /dev/null/d\n";
    for (const std::string& journal :
         {head, head + notes, head + notes + files + "d 30\n", head + files.substr(0, 40),
          head + notes + std::string(9, '\0'), std::string("ifdsweep journal 1\n"),
          "ifdsweep journal 2\nifdsweep 0\n\n" + files, std::string("II*\0", 4)}) {
        folder.add(prefixed({0}, journal));
    }
    for (const std::string& lines : {notes + files, files + "d 1\n", std::string("x 1 2\n")}) {
        folder.add(prefixed({1}, lines));
    }
    // Files by the bytes that choose length, letters, failure, ending, warnings and lengths; then
    // how the journal is cut.
    const std::string name =
        "\x02"
        "ab";
    const std::string shortOne(12, '\0');
    folder.add(prefixed({2, 2}, name + shortOne + name + shortOne + name + shortOne));
    folder.add(prefixed({2, 1}, name + "\x01" + shortOne));
}

/// Lists of names, with line feeds and with NULs.
void addLists(SeedFolder& folder) {
    for (const std::string_view list :
         {std::string_view("a.tif\nb c.tif\n"), std::string_view("a\n\n\nb"),
          std::string_view("a\0b\n\0c", 6), std::string_view("")}) {
        for (const std::uint8_t separator : {std::uint8_t{0}, std::uint8_t{1}}) {
            for (const std::uint8_t copies : {std::uint8_t{0}, std::uint8_t{63}}) {
                folder.add(prefixed({separator, copies, 3, 0}, list));
            }
        }
    }
    folder.add(prefixed({0, 63, 1, 4}, std::string(1025, 'x')));
}

/// A pattern and a path that it matches.
void addGlobs(SeedFolder& folder) {
    for (const std::string_view pair :
         {"*.tif\na.tif", "photos/**/*.jpg\nphotos/2023/a.jpg", "/a?/[!b-d]x\nab/ax",
          "{a,b{c,}d/}e\nbd/e", "\\[[:alpha:]]/**/**\n[a/b/c", "*a*a*b/**/\naaaab/aab"}) {
        folder.add(prefixed({}, pair));
    }
}

void addTagLists(SeedFolder& folder) {
    for (const std::string_view list :
         {"Make", "Make,Model,0x110,GPS*", "271,271,65000", "*", "Mak", "[A-C]*,!", "", ",",
          "0x1ffff", "65536", "ISO*,?mage*", "lensmodel,42036,imageLength", "gpsh*,31,Exif*"}) {
        folder.add(prefixed({}, list));
    }
}

/// HEIF files with a stream in both byte orders: the lists in all versions, before the data and
/// behind, in the file and in the box of the list's own, in one piece and several.
void addHeif(SeedFolder& folder) {
    using namespace fixture;
    const Bytes start = fileTypeBox("heic", {"mif1", "heic"});
    for (const ByteOrder order : {ByteOrder::little, ByteOrder::big}) {
        const Bytes stream = builderOf({Layout::classic, order}, chains().front()).build().bytes;
        const Bytes item = joined({bigEndian(4, 6), bytesOf("Exif"), {0, 0}, stream});
        const Bytes data = joined({start, box("mdat", item)});
        const std::uint64_t position = data.size() - item.size();
        const std::vector<ItemInfo> items{{.id = 1, .type = "hvc1"}, {.id = 2}, {.id = 3}};
        const std::vector<ItemLocation> whole{{.id = 1, .extents = {{0, 8}}},
                                              {.id = 2, .extents = {{position, item.size()}}}};
        const std::vector<ItemLocation> pieces{
            {.id = 2, .extents = {{0, 20}, {20, 0}}, .baseOffset = position}};
        const std::vector<ItemLocation> inList{
            {.id = 3, .extents = {{0, item.size()}}, .constructionMethod = 1}};
        const Bytes references = itemReferencesBox(0, {{"cdsc", 3, {1}}});
        const Bytes primary = primaryItemBox(1);
        folder.add(joined({data, metaBox(joined({primary, itemInfosBox(0, items), references,
                                                 itemLocationsBox({.version = 0}, whole)}))}));
        folder.add(joined({data, metaBox(joined({itemLocationsBox({1, 8, 8, 8, 8}, pieces),
                                                 itemInfosBox(1, items)}))}));
        folder.add(
            joined({start,
                    metaBox(joined({primary, itemInfosBox(0, items), references,
                                    itemLocationsBox({.version = 2}, inList), box("idat", item)})),
                    box("mdat", {0})}));
        const Bytes inTrack = metaBox(
            joined({itemInfosBox(2, {{.id = 2, .version = 3}}), itemLocationsBox({}, whole)}));
        folder.add(joined({data, box("moov", joined({inTrack, box("trak", inTrack)}))}));
    }
}

/// CR3 files with the four streams, in boxes of all forms.
void addCr3(SeedFolder& folder) {
    using namespace fixture;
    const Bytes start = fileTypeBox("crx ", {"crx ", "isom"});
    const Bytes uuid{0x85, 0xC0, 0xB6, 0x87, 0x82, 0x0F, 0x11, 0xE0,
                     0x81, 0x11, 0xF4, 0xCE, 0x46, 0x2B, 0x6A, 0x48};
    const Bytes stream = builderOf(Format{}, chains().front()).build().bytes;
    const Bytes streams = joined({box("CNCV", {'C'}), box("CMT1", stream), box("CMT2", stream),
                                  box("CMT3", stream), box("CMT4", stream)});
    folder.add(joined({start, box("moov", uuidBox(uuid, streams)), box("mdat", {0})}));
    folder.add(joined({start, openBox("moov", largeBox("uuid", joined({uuid, streams})))}));
    folder.add(joined({start, box("moov", uuidBox(Bytes(16, 1), streams)), openBox("mdat", {0})}));
    folder.add(joined({start, box("moov", uuidBox(uuid, lyingBox("CMT1", 99, {'I', 'I'})))}));
}

/// Streams packed in every way: the bytes that choose how, one extent or two, then the file.
void addPackedStreams(SeedFolder& folder) {
    const Bytes stream = builderOf(Format{}, chains().front()).build().bytes;
    const std::vector<std::string_view> fronts{"", std::string_view("Exif\0\0", 6),
                                               std::string_view("\0\0\0\6Exif\0\0", 10)};
    for (std::uint8_t choice = 0; choice < 12; ++choice) {
        for (const std::string_view front : fronts) {
            Bytes content = prefixed({}, front);
            content.insert(content.end(), stream.begin(), stream.end());
            if (choice / 3 % 2 != 0) {
                content = prefixed({}, fixture::rawProfile(content));
            }
            if (choice % 3 != 0) {
                content = choice % 3 == 1 ? fixture::zlibCompressed(content)
                                          : fixture::brotliCompressed(content);
            }
            const std::size_t half = std::min<std::size_t>(content.size() / 2, 255);
            const std::size_t rest = content.size() - half;
            const auto low = [](std::size_t number) { return static_cast<std::uint8_t>(number); };
            for (Bytes file :
                 {Bytes{choice, 0, 0, 0, low(content.size()), low(content.size() >> 8)},
                  Bytes{choice, 1, 0, 0, low(half), 0, 0, low(half), low(rest), low(rest >> 8)}}) {
                file.insert(file.end(), content.begin(), content.end());
                folder.add(file);
            }
        }
    }
}

void addNoise(SeedFolder& folder) {
    std::mt19937 generator(1);  // the same noise every time
    for (std::size_t length = 8; length <= 2048; length *= 2) {
        for (int repeat = 0; repeat < 4; ++repeat) {
            Bytes bytes(length);
            for (std::uint8_t& byte : bytes) {
                byte = static_cast<std::uint8_t>(generator());
            }
            folder.add(bytes);
        }
    }
}

void makeSeeds(const fs::path& folder, std::span<char*> samples) {
    constexpr std::uint8_t kAsIs = 3;
    SeedFolder wholeCalls(folder / "whole_call");
    SeedFolder jpegs(folder / "jpeg_locator");
    addStreams(wholeCalls, jpegs);
    addJpegs(jpegs);
    for (const Bytes& jpeg : jpegsOfManyStreams()) {
        jpegs.add(jpeg);
    }
    SeedFolder rafs(folder / "raf_locator");
    addRafs(rafs);
    SeedFolder psds(folder / "psd_locator");
    addPsds(psds);
    for (const fs::path sample : samples) {
        const std::string content = fixture::readFile(sample);
        const Bytes bytes(content.begin(), content.end());
        if (bytes.empty()) {
            throw std::runtime_error("cannot read " + sample.string());
        }
        wholeCalls.add(wholeCall(kAsIs, 0, 0, bytes));
        jpegs.add(bytes);
    }
    SeedFolder jpegXl(folder / "jpeg_xl_locator");
    addJpegXl(jpegXl);
    SeedFolder jpeg2000(folder / "jpeg_2000_locator");
    addJpeg2000(jpeg2000);
    SeedFolder png(folder / "png_locator");
    addPng(png);
    SeedFolder webp(folder / "webp_locator");
    addWebp(webp);
    SeedFolder names(folder / "file_names");
    addNames(names);
    SeedFolder messages(folder / "worker_answer");
    addMessages(messages);
    SeedFolder journals(folder / "journal");
    addJournals(journals);
    SeedFolder lists(folder / "path_list");
    addLists(lists);
    SeedFolder globs(folder / "glob");
    addGlobs(globs);
    SeedFolder heifs(folder / "heif_locator");
    addHeif(heifs);
    SeedFolder cr3s(folder / "cr3_locator");
    addCr3(cr3s);
    SeedFolder packedStreams(folder / "stream_opener");
    addPackedStreams(packedStreams);
    SeedFolder tagLists(folder / "tag_choice");
    addTagLists(tagLists);
    for (const char* target : {"typed_writer", "json_writer", "text_writer", "csv_writer",
                               "presented_field", "byte_order"}) {
        SeedFolder noise(folder / target);
        addNoise(noise);
    }
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount < 2) {
        std::fputs("usage: ifdsweep_make_seeds FOLDER [SAMPLE FILE...]\n", stderr);
        return 2;
    }
    try {
        makeSeeds(arguments[1],
                  std::span(arguments, static_cast<std::size_t>(argumentCount)).subspan(2));
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "ifdsweep_make_seeds: %s\n", failure.what());
        return 1;
    }
}
