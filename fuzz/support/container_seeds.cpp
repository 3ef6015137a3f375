#include "container_seeds.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "support/box_builder.h"
#include "support/chunk_builder.h"
#include "support/compressed_bytes.h"
#include "support/jpeg_builder.h"
#include "support/jxl_file.h"
#include "support/psd_builder.h"

namespace fuzz {
namespace {

using fixture::Bytes;

/// JPEG XL files: the streams as they are and in brotli, which stores them, before the codestream
/// and behind it, in boxes of all forms.
Files jpegXlFiles(const SmallStreams& streams) {
    using namespace fixture;
    Files files;
    const Bytes start = joined({box("JXL ", bytesOf("\r\n\x87\n")), fileTypeBox("jxl ", {"jxl "})});
    const Bytes codestream = box("jxlc", {0xFF, 0x0A, 0, 0x10});
    for (const SmallStream& small : streams) {
        const Bytes& stream = small.bytes;
        const Bytes content = joined({bigEndian(4, 0), stream});
        const Bytes compressed = joined({bytesOf("Exif"), storedInBrotli(content)});
        const Bytes behindSignature = joined({bigEndian(4, 6), bytesOf("Exif"), {0, 0}, stream});
        files.push_back(joined({start, box("Exif", content), codestream}));
        files.push_back(joined({start, codestream, largeBox("Exif", behindSignature)}));
        files.push_back(joined({start, box("jxlp", {0, 0, 0, 0}), box("brob", compressed),
                                box("jxlp", {0x80, 0, 0, 1}), openBox("Exif", content)}));
    }
    const Bytes empty = joined({bytesOf("Exif"), storedInBrotli(bigEndian(4, 0))});
    files.push_back(joined({start, box("brob", joined({bytesOf("brob"), empty})), codestream}));
    files.push_back(joined({start, lyingBox("brob", 0xFFFF, empty)}));
    files.push_back(joined({start, openBox("jxlc", {0xFF, 0x0A})}));
    return files;
}

/// JPEG 2000 files: each UUID, in boxes of all forms and in other boxes.
Files jpeg2000Files(const SmallStreams& streams) {
    using namespace fixture;
    Files files;
    const Bytes start = joined({box("jP  ", bytesOf("\r\n\x87\n")), fileTypeBox("jp2 ", {"jp2 "})});
    const Bytes codestream = box("jp2c", {0xFF, 0x4F, 0xFF, 0x51});
    const Bytes exif = bytesOf("JpgTiffExif->JP2");
    const Bytes plugIn =
        bytesOf("\x05\x37\xCD\xAB\x9D\x0C\x44\x31\xA7\x2A\xFA\x56\x1F\x2A\x11\x3E");
    const Bytes geo = bytesOf("\xB1\x4B\xF8\xBD\x08\x3D\x4B\x43\xA5\xAE\x8C\xD7\xD5\xA6\xCE\x03");
    for (const SmallStream& small : streams) {
        const Bytes& stream = small.bytes;
        files.push_back(joined({start, uuidBox(exif, stream), codestream}));
        files.push_back(joined({start, uuidBox(geo, stream), codestream, uuidBox(plugIn, stream)}));
        files.push_back(joined({start, codestream, largeBox("uuid", joined({exif, stream}))}));
        files.push_back(
            joined({start, box("asoc", joined({box("lbl ", {'a'}), uuidBox(geo, stream)})),
                    openBox("uuid", joined({exif, stream}))}));
        files.push_back(joined({start, openBox("asoc", box("uinf", uuidBox(exif, stream)))}));
    }
    files.push_back(joined({start, lyingBox("asoc", 0xFFFF, uuidBox(exif, {'I', 'I', 42, 0}))}));
    files.push_back(joined({start, openBox("jp2c", {0xFF, 0x4F})}));
    return files;
}

/// PNG files: the streams in chunks of each type, before the image data and behind them.
Files pngFiles(const SmallStreams& streams) {
    using namespace fixture;
    Files files;
    const Bytes data = pngChunk("IDAT", {0x78, 0x01});
    const Bytes end = pngChunk("IEND", {});
    constexpr std::string_view kExif = "Raw profile type exif";
    constexpr std::string_view kApp1 = "Raw profile type APP1";
    for (const SmallStream& small : streams) {
        const Bytes& stream = small.bytes;
        const Bytes profile = bytesOf(rawProfile(stream));
        const Bytes zlib = zlibCompressed(profile);
        files.push_back(pngFile({pngChunk("eXIf", stream), data, end}));
        files.push_back(
            pngFile({data, data, pngChunk("eXIf", joined({bytesOf("Exif"), {0, 0}, stream}))}));
        files.push_back(pngFile(
            {pngChunk("zxIf", joined({{0}, bigEndian(4, stream.size()), zlibCompressed(stream)})),
             data, end}));
        files.push_back(pngFile({textChunk(kExif, profile), textChunk(kApp1, profile), data, end}));
        files.push_back(pngFile({compressedTextChunk(kExif, zlib), data, end}));
        files.push_back(
            pngFile({internationalTextChunk(kApp1, {.language = "de"}, profile),
                     internationalTextChunk(kExif, {.flag = 1, .translated = "x"}, zlib), data,
                     pngChunk("eXIf", stream, 0xFFFF)}));
    }
    files.push_back(
        pngFile({textChunk(kApp1, bytesOf(rawProfile(bytesOf("http://ns"), "APP1"))), end}));
    return files;
}

/// WebP files: the streams behind the image and before it, with all that may be odd.
Files webpFiles(const SmallStreams& streams) {
    using namespace fixture;
    Files files;
    const Bytes extended = riffChunk("VP8X", Bytes(10, 0));
    const Bytes image = riffChunk("VP8 ", {0, 0, 0, 0x9D, 1});
    const Bytes unpadded = riffChunk("VP8L", {0x2F}, {}, Padding::none);
    const Bytes frame = riffChunk("ANMF", {0, 0});
    for (const SmallStream& small : streams) {
        const Bytes& stream = small.bytes;
        const Bytes exif = riffChunk("EXIF", stream);
        files.push_back(webpFile({extended, image, exif}));
        files.push_back(webpFile(
            {extended, unpadded, riffChunk("EXIF", joined({bytesOf("Exif"), {0, 0}, stream}))}));
        files.push_back(webpFile({extended, exif, frame, frame, exif}));
        files.push_back(webpFile({unpadded, exif}, 0));
        files.push_back(webpFile({riffChunk("EXIF", stream, 0xFFFF)}, 0xFFFF));
    }
    return files;
}

/// RAF files of these JPEG files, with raw data that are a TIFF stream, and other.
Files rafFiles(const SmallStreams& streams) {
    Files files;
    for (const Bytes& jpeg : jpegSeeds(streams)) {
        files.push_back(fixture::rafOf(jpeg, streams.front().bytes));
        files.push_back(fixture::rafOf(jpeg, {1, 2, 3, 4}));
    }
    return files;
}

/// PSD and PSB files: the streams among other resources, and sizes that lie.
Files psdFiles(const SmallStreams& streams) {
    using namespace fixture;
    Files files;
    for (const SmallStream& small : streams) {
        const Bytes& stream = small.bytes;
        const PsdResource exif{.id = 1058, .data = stream};
        const PsdResource other{.id = 1005, .data = {1, 2, 3}, .name = "name"};
        const PsdResource third{.id = 1059, .data = stream, .signature = "MeSa"};
        files.push_back(psdOf({.resources = {exif}}));
        files.push_back(psdOf(
            {.version = 2, .colours = {1, 2, 3, 4}, .resources = {other, exif, third, exif}}));
        files.push_back(
            psdOf({.resources = {other, {.id = 1058, .data = stream, .size = 0xFFFFFFF0U}}}));
        files.push_back(psdOf({.resources = {other}, .coloursSize = 0xFFFFFFFFU}));
    }
    return files;
}

/// HEIF files with a stream in both byte orders: the lists in all versions, before the data and
/// behind, in the file and in the box of the list's own, in one piece and several.
Files heifFiles(const SmallStreams& streams) {
    using namespace fixture;
    Files files;
    const Bytes start = fileTypeBox("heic", {"mif1", "heic"});
    for (const SmallStream& small : streams) {
        const Bytes& stream = small.bytes;
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
        files.push_back(joined({data, metaBox(joined({primary, itemInfosBox(0, items), references,
                                                      itemLocationsBox({.version = 0}, whole)}))}));
        files.push_back(joined({data, metaBox(joined({itemLocationsBox({1, 8, 8, 8, 8}, pieces),
                                                      itemInfosBox(1, items)}))}));
        files.push_back(
            joined({start,
                    metaBox(joined({primary, itemInfosBox(0, items), references,
                                    itemLocationsBox({.version = 2}, inList), box("idat", item)})),
                    box("mdat", {0})}));
        const Bytes inTrack = metaBox(
            joined({itemInfosBox(2, {{.id = 2, .version = 3}}), itemLocationsBox({}, whole)}));
        files.push_back(joined({data, box("moov", joined({inTrack, box("trak", inTrack)}))}));
    }
    return files;
}

/// CR3 files with the four streams, in boxes of all forms.
Files cr3Files(const SmallStreams& streams) {
    using namespace fixture;
    Files files;
    const Bytes start = fileTypeBox("crx ", {"crx ", "isom"});
    const Bytes uuid{0x85, 0xC0, 0xB6, 0x87, 0x82, 0x0F, 0x11, 0xE0,
                     0x81, 0x11, 0xF4, 0xCE, 0x46, 0x2B, 0x6A, 0x48};
    const Bytes& stream = streams.front().bytes;
    const Bytes boxes = joined({box("CNCV", {'C'}), box("CMT1", stream), box("CMT2", stream),
                                box("CMT3", stream), box("CMT4", stream)});
    files.push_back(joined({start, box("moov", uuidBox(uuid, boxes)), box("mdat", {0})}));
    files.push_back(joined({start, openBox("moov", largeBox("uuid", joined({uuid, boxes})))}));
    files.push_back(
        joined({start, box("moov", uuidBox(Bytes(16, 1), boxes)), openBox("mdat", {0})}));
    files.push_back(joined({start, box("moov", uuidBox(uuid, lyingBox("CMT1", 99, {'I', 'I'})))}));
    return files;
}

/// Streams packed in every way: the bytes that choose how, one extent or two, then the file.
Files packedStreams(const SmallStreams& streams) {
    Files files;
    const Bytes& stream = streams.front().bytes;
    const std::vector<std::string_view> fronts{"", std::string_view("Exif\0\0", 6),
                                               std::string_view("\0\0\0\6Exif\0\0", 10)};
    for (std::uint8_t choice = 0; choice < 12; ++choice) {
        for (const std::string_view front : fronts) {
            Bytes content = fixture::bytesOf(front);
            content.insert(content.end(), stream.begin(), stream.end());
            if (choice / 3 % 2 != 0) {
                content = fixture::bytesOf(fixture::rawProfile(content));
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
                files.push_back(file);
            }
        }
    }
    return files;
}

}  // namespace

Files jpegSeeds(const SmallStreams& streams) {
    using namespace fixture;
    Files files;
    for (const auto& [order, stream] : streams) {
        const Bytes exif = exifSegment(stream);
        const Bytes comment = jpegSegment(0xFE, {'a'});
        files.push_back(jpegOf({splitExif(stream, 60), comment}));
        files.push_back(jpegOf({comment, exif, comment, exifSegment({1, 2, 3}), exif}));
        files.push_back(jpegWithPictures({exif}, {jpegOf({exif}), jpegOf({comment})}, order));
        files.push_back(joined({jpegOf({exif, pictureIndex({0, 8, 100}, order)}), jpegOf({exif})}));
    }
    return files;
}

std::vector<TargetSeeds> containerSeeds(const SmallStreams& streams) {
    return {
        {"raf_locator", rafFiles(streams)},        {"psd_locator", psdFiles(streams)},
        {"jpeg_xl_locator", jpegXlFiles(streams)}, {"jpeg_2000_locator", jpeg2000Files(streams)},
        {"png_locator", pngFiles(streams)},        {"webp_locator", webpFiles(streams)},
        {"heif_locator", heifFiles(streams)},      {"cr3_locator", cr3Files(streams)},
        {"stream_opener", packedStreams(streams)},
    };
}

}  // namespace fuzz
