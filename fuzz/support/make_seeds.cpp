// Writes the seeds of every fuzz target: TIFF streams of the test builder in both layouts and byte
// orders, the project's samples, and short pieces of noise for the targets that make values of any
// bytes.
//
//   ifdsweep_make_seeds FOLDER [SAMPLE FILE...]

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

#include "container_seeds.h"
#include "ifdsweep/host.h"
#include "ifdsweep/read.h"
#include "io/packed.h"
#include "pack/file_packer.h"
#include "support/chunk_builder.h"
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

/// Streams of one directory in both byte orders.
fuzz::SmallStreams smallStreams() {
    fuzz::SmallStreams streams;
    for (const auto order : {fixture::ByteOrder::little, fixture::ByteOrder::big}) {
        const Format format{fixture::Layout::classic, order};
        streams.push_back({order, builderOf(format, chains().front()).build().bytes});
    }
    return streams;
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

/// Files to be packed in each way, and what they are packed to.
void addPacked(SeedFolder& folder, const std::vector<Bytes>& files) {
    ifdsweep::Host host;
    ifdsweep::FilePacker packer;
    for (const Bytes& file : files) {
        for (const std::uint8_t way : {std::uint8_t{1}, std::uint8_t{2}, std::uint8_t{3}}) {
            Bytes input{way};
            input.insert(input.end(), file.begin(), file.end());
            folder.add(input);
        }
        host.serveNothing();
        host.serve("seed", file);
        packer.begin();
        const ifdsweep::Outcome outcome =
            ifdsweep::read(host, "seed", {.streams = ifdsweep::StreamChoice::all, .sink = &packer});
        const ifdsweep::PackedFile packed = packer.pack(outcome);
        const auto* bytes =
            static_cast<const std::uint8_t*>(static_cast<const void*>(packed.bytes().data()));
        Bytes input{0};
        input.insert(input.end(), bytes, bytes + packed.bytes().size());
        folder.add(input);
    }
}

/// Every stream in a layout and byte order of its own, and two of them in a PNG file.
std::vector<Bytes> filesToPack() {
    std::vector<Bytes> files;
    for (const Chain& chain : chains()) {
        const auto layout = files.size() % 2 == 0 ? fixture::Layout::classic : fixture::Layout::big;
        const auto order =
            files.size() / 2 % 2 == 0 ? fixture::ByteOrder::little : fixture::ByteOrder::big;
        files.push_back(builderOf({layout, order}, chain).build().bytes);
    }
    files.push_back(fixture::pngFile({fixture::pngChunk("eXIf", files[0]),
                                      fixture::pngChunk("eXIf", Bytes{'n', 'o'}),
                                      fixture::pngChunk("eXIf", files[2])}));
    files.push_back(fixture::bytesOf("a text\n"));
    return files;
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
    const fuzz::SmallStreams streams = smallStreams();
    for (const Bytes& jpeg : fuzz::jpegSeeds(streams)) {
        jpegs.add(jpeg);
    }
    for (const auto& [target, files] : fuzz::containerSeeds(streams)) {
        SeedFolder seeds(folder / target);
        for (const Bytes& file : files) {
            seeds.add(file);
        }
    }
    for (const fs::path sample : samples) {
        const std::string content = fixture::readFile(sample);
        const Bytes bytes(content.begin(), content.end());
        if (bytes.empty()) {
            throw std::runtime_error("cannot read " + sample.string());
        }
        wholeCalls.add(wholeCall(kAsIs, 0, 0, bytes));
        jpegs.add(bytes);
    }
    SeedFolder packed(folder / "packed_file");
    addPacked(packed, filesToPack());
    SeedFolder tables(folder / "table");
    addPacked(tables, filesToPack());
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
