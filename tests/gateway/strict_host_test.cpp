// The module under a host that trusts nothing: this program implements every operation of the
// contract itself, keeps a register of all values and streams, and makes every operation fail in
// turn. Nothing may be left, freed twice, or used once it belongs to another value.

#include <dlfcn.h>
#include <gtest/gtest.h>

#pragma GCC visibility push(default)
#include "ifdsweep/qx.h"
#pragma GCC visibility pop

#include <boost/numeric/conversion/cast.hpp>

#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <memory>
#include <set>

#include "support/page_of_everything.h"

/// A value, with the operation that made it.
struct qxArray {
    std::string maker;
    std::size_t rows = 0;
    std::size_t columns = 0;
    std::vector<double> doubles{};
    std::vector<std::uint8_t> bytes{};
    std::u16string units{};
    std::vector<std::string> fields{};
    std::vector<qxArray*> slots{};  ///< cells, or fields element by element
    bool isStored = false;          ///< another value owns it
};

namespace {

/// What an operation throws that fails as a host's operations may.
struct OperationFailure {
    std::size_t number;
};

/// How the operation that fails does so.
enum class Failure { none, ofTheHost, badNumericCast };

/// The register of one call.
class StrictHost {
public:
    explicit StrictHost(const fixture::Bytes& fileBytes) : file(fileBytes) { current = this; }
    StrictHost(const StrictHost&) = delete;
    StrictHost& operator=(const StrictHost&) = delete;
    ~StrictHost() {
        for (const qxArray* value : live) {
            delete value;
        }
        current = nullptr;
    }

    static StrictHost& get() { return *current; }

    /// Counts an operation of the module; throws when it is the one to fail.
    void enter(const char* operation) {
        if (!isCounting) {
            return;
        }
        ++operations;
        if (operations != failing || failure == Failure::none) {
            return;
        }
        failedOperation = operation;
        isFileOpenAtFailure = openStreams > 0;
        if (failure == Failure::badNumericCast) {
            throw boost::numeric::bad_numeric_cast();
        }
        throw OperationFailure{operations};
    }

    qxArray* create(const char* maker, std::size_t rows, std::size_t columns) {
        enter(maker);
        auto* value = new qxArray{.maker = maker, .rows = rows, .columns = columns};
        live.insert(value);
        return value;
    }

    /// Notes what the contract does not allow.
    void require(bool condition, const std::string& what) {
        if (!condition) {
            violations.push_back(what);
        }
    }

    /// A value that the module may still use: it lives and is its own.
    void requireOwn(const qxArray* value, const char* operation) {
        const bool lives = live.count(const_cast<qxArray*>(value)) > 0;
        require(lives && !value->isStored, std::string(operation) + " of a value not its own");
    }

    void store(qxArray*& slot, qxArray* value) {
        if (slot != nullptr) {
            release(slot);
        }
        slot = value;
        if (value != nullptr) {
            value->isStored = true;
        }
    }

    void release(qxArray* value) {
        if (live.erase(value) == 0) {
            violations.emplace_back("a value is freed twice");
            return;
        }
        for (qxArray* part : value->slots) {
            if (part != nullptr) {
                release(part);
            }
        }
        delete value;
    }

    static std::size_t countOf(const qxArray* value) {
        std::size_t count = 1;
        for (const qxArray* part : value->slots) {
            count += part == nullptr ? 0 : countOf(part);
        }
        return count;
    }

    const fixture::Bytes& file;
    std::set<qxArray*> live{};
    std::vector<std::string> violations{};
    std::vector<std::string> warnings{};
    std::size_t operations = 0;
    std::size_t failing = 0;
    Failure failure = Failure::none;
    std::string failedOperation{};
    bool isFileOpenAtFailure = false;
    bool isCounting = false;
    std::size_t openStreams = 0;
    std::size_t streamsAtError = 0;
    std::size_t valuesAtError = 0;

private:
    static inline StrictHost* current = nullptr;
};

/// A stream on the bytes of the file, which tells the register of its end.
class MemoryStream {
public:
    explicit MemoryStream(const fixture::Bytes& source) : bytes(source) {
        ++StrictHost::get().openStreams;
    }

    static std::FILE* open(const fixture::Bytes& bytes) {
        return ::fopencookie(new MemoryStream(bytes), "rb",
                             {.read = read, .write = nullptr, .seek = seek, .close = close});
    }

private:
    static MemoryStream& of(void* cookie) { return *static_cast<MemoryStream*>(cookie); }

    static ssize_t read(void* cookie, char* out, std::size_t size) {
        MemoryStream& stream = of(cookie);
        const std::size_t begin = std::min(stream.position, stream.bytes.size());
        const std::size_t length = std::min(size, stream.bytes.size() - begin);
        std::memcpy(out, stream.bytes.data() + begin, length);
        stream.position += length;
        return static_cast<ssize_t>(length);
    }

    static int seek(void* cookie, off64_t* offset, int whence) {
        MemoryStream& stream = of(cookie);
        const std::int64_t base = whence == SEEK_SET ? 0
                                  : whence == SEEK_CUR
                                      ? static_cast<std::int64_t>(stream.position)
                                      : static_cast<std::int64_t>(stream.bytes.size());
        *offset += base;
        stream.position = static_cast<std::size_t>(*offset);
        return 0;
    }

    static int close(void* cookie) {
        --StrictHost::get().openStreams;
        delete static_cast<MemoryStream*>(cookie);
        return 0;
    }

    const fixture::Bytes& bytes;
    std::size_t position = 0;
};

constexpr const char16_t* kName = u"strict.tif";

}  // namespace

// ------------------------------------------------------------------- the operations of the
// contract

void qxWarningMsgId(const qxMessage& message) {
    StrictHost::get().enter("qxWarningMsgId");
    StrictHost::get().warnings.emplace_back(message.id());
}

void qxRaiseError(const qxMessage& message) {
    StrictHost& host = StrictHost::get();
    host.streamsAtError = host.openStreams;
    host.valuesAtError = host.live.size();
    throw qxMessage(message);
}

std::u16string qxGetUString(const qxArray* text) {
    StrictHost::get().enter("qxGetUString");
    return text->units;
}

double qxGetScalar(const qxArray* number) {
    StrictHost::get().enter("qxGetScalar");
    return number->doubles.at(0);
}

qxArray* qxCreateUString(const char16_t* units, std::size_t length) {
    qxArray* value = StrictHost::get().create("qxCreateUString", 1, length);
    value->units.assign(units, length);
    return value;
}

qxArray* qxCreateString(const char* text) {
    qxArray* value = StrictHost::get().create("qxCreateString", 1, std::strlen(text));
    value->units.assign(text, text + std::strlen(text));
    return value;
}

qxArray* qxCreateCharArray(std::size_t dimensionCount, const std::size_t* dimensions) {
    StrictHost& host = StrictHost::get();
    host.require(dimensionCount == 2, "qxCreateCharArray without two dimensions");
    qxArray* value = host.create("qxCreateCharArray", dimensions[0], dimensions[1]);
    value->units.resize(value->rows * value->columns);
    return value;
}

qxArray* qxCreateCellArray(std::size_t dimensionCount, const std::size_t* dimensions) {
    StrictHost& host = StrictHost::get();
    host.require(dimensionCount == 2, "qxCreateCellArray without two dimensions");
    qxArray* value = host.create("qxCreateCellArray", dimensions[0], dimensions[1]);
    value->slots.resize(value->rows * value->columns);
    return value;
}

qxArray* qxCreateStructArray(std::size_t dimensionCount, const std::size_t* dimensions,
                             std::size_t fieldCount, const char* const* fieldNames) {
    StrictHost& host = StrictHost::get();
    host.require(dimensionCount == 2, "qxCreateStructArray without two dimensions");
    qxArray* value = host.create("qxCreateStructArray", dimensions[0], dimensions[1]);
    value->fields.assign(fieldNames, fieldNames + fieldCount);
    value->slots.resize(value->rows * value->columns * fieldCount);
    return value;
}

qxArray* qxCreateDoubleScalar(double number) {
    qxArray* value = StrictHost::get().create("qxCreateDoubleScalar", 1, 1);
    value->doubles = {number};
    return value;
}

qxArray* qxCreateNumericArray(std::size_t dimensionCount, const std::size_t* dimensions,
                              qxClassID classId, qxComplexity complexity) {
    StrictHost& host = StrictHost::get();
    host.require(complexity == qxREAL, "a complex array");
    host.require(dimensionCount == 2 || dimensionCount == 0, "dimensions other than 0 or 2");
    const bool isEmpty = dimensionCount == 0;
    qxArray* value = host.create("qxCreateNumericArray", isEmpty ? 0 : dimensions[0],
                                 isEmpty ? 0 : dimensions[1]);
    const std::size_t size = value->rows * value->columns;
    if (classId == qxDOUBLE_CLASS) {
        value->doubles.resize(size);
    } else {
        value->bytes.resize(size);
    }
    return value;
}

void qxSetField(qxArray* records, std::size_t index, const char* fieldName, qxArray* value) {
    StrictHost& host = StrictHost::get();
    host.requireOwn(records, "qxSetField in a record");
    if (value != nullptr) {
        host.requireOwn(value, "qxSetField");
    }
    host.enter("qxSetField");
    for (std::size_t field = 0; field < records->fields.size(); ++field) {
        if (records->fields[field] == fieldName) {
            host.store(records->slots.at(index * records->fields.size() + field), value);
            return;
        }
    }
    host.violations.push_back(std::string("there is no field ") + fieldName);
}

void qxSetCell(qxArray* cells, std::size_t index, qxArray* value) {
    StrictHost& host = StrictHost::get();
    host.requireOwn(cells, "qxSetCell in a cell array");
    host.requireOwn(value, "qxSetCell");
    host.enter("qxSetCell");
    host.store(cells->slots.at(index), value);
}

void qxDestroyArray(qxArray* value) {
    if (value != nullptr) {
        StrictHost::get().requireOwn(value, "qxDestroyArray");
        StrictHost::get().release(value);
    }
}

double* qxGetDoubles(qxArray* value) {
    StrictHost::get().requireOwn(value, "qxGetDoubles");
    StrictHost::get().enter("qxGetDoubles");
    return value->doubles.data();
}

std::uint8_t* qxGetUint8s(qxArray* value) {
    StrictHost::get().requireOwn(value, "qxGetUint8s");
    StrictHost::get().enter("qxGetUint8s");
    return value->bytes.data();
}

char16_t* qxGetChars(qxArray* value) {
    StrictHost::get().requireOwn(value, "qxGetChars");
    StrictHost::get().enter("qxGetChars");
    return value->units.data();
}

qxFileStatus qxGetFileStatus(const std::u16string& path) {
    StrictHost::get().enter("qxGetFileStatus");
    qxFileStatus status;
    if (path == kName) {
        status.type = qxFileType::regular;
        status.timeStamps = {0, 0, 0};
        status.fileSize = StrictHost::get().file.size();
    }
    return status;
}

bool qxFileExists(const std::u16string& path) {
    StrictHost::get().enter("qxFileExists");
    return path == kName;
}

std::FILE* qxOpenFile(const std::u16string& path, const char* /*mode*/) {
    StrictHost::get().enter("qxOpenFile");
    return path == kName ? MemoryStream::open(StrictHost::get().file) : nullptr;
}

// ----------------------------------------------------------------------------------------- the
// tests

namespace fixture {
namespace {

using EntryPoint = decltype(&qxeFunction);

EntryPoint entryPoint() {
    static const std::unique_ptr<void, int (*)(void*)> kLibrary(
        dlopen(IFDSWEEP_MODULE, RTLD_NOW | RTLD_LOCAL), &dlclose);
    return kLibrary == nullptr ? nullptr
                               : std::bit_cast<EntryPoint>(dlsym(kLibrary.get(), "qxeFunction"));
}

constexpr std::size_t kInputs = 4;

/// What became of a call.
struct Outcome {
    std::string ended{};   ///< "returned", "operation failed", "bad cast", or the id of an error
    std::string broken{};  ///< what the host holds against the module; empty when all is in order
    std::size_t operations = 0;
    std::string failedOperation{};
    bool isFileOpenAtFailure = false;
    /// For each field of the first element, the operations that made its value and those in it.
    std::map<std::string, std::string> makers{};
};

std::string makersOf(const qxArray* value) {
    if (value == nullptr) {
        return "none";
    }
    std::string text = value->maker.substr(std::strlen("qxCreate"));
    for (std::size_t i = 0; i < value->slots.size(); ++i) {
        text += i == 0 ? '(' : ' ';
        text += value->fields.empty() ? "" : value->fields[i % value->fields.size()] + '=';
        text += makersOf(value->slots[i]);
    }
    return text + (value->slots.empty() ? "" : ")");
}

Outcome call(const TiffFile& file, std::size_t failing = 0, Failure failure = Failure::none,
             const char16_t* name = kName) {
    StrictHost host(file.bytes);
    qxArray* text = qxCreateUString(name, std::char_traits<char16_t>::length(name));
    std::array<const qxArray*, kInputs> inputs{text,
                                               qxCreateDoubleScalar(static_cast<double>(file.base)),
                                               qxCreateDoubleScalar(0), qxCreateDoubleScalar(0)};
    host.failing = failing;
    host.failure = failure;
    host.isCounting = true;
    qxArray* output = nullptr;
    Outcome outcome;
    try {
        entryPoint()(1, &output, kInputs, inputs.data());
        outcome.ended = "returned";
    } catch (const OperationFailure& thrown) {
        outcome.ended = thrown.number == failing ? "operation failed" : "another failure";
    } catch (const boost::numeric::bad_numeric_cast&) {
        outcome.ended = "bad cast";
    } catch (const qxMessage& error) {
        outcome.ended = std::string(error.id());
    }
    host.isCounting = false;
    outcome.operations = host.operations;
    outcome.failedOperation = host.failedOperation;
    outcome.isFileOpenAtFailure = host.isFileOpenAtFailure;

    const std::size_t given = output == nullptr ? 0 : StrictHost::countOf(output);
    host.require((output != nullptr) == (outcome.ended == "returned"), "a result and an error");
    host.require(output == nullptr || !output->isStored, "the result is in another value");
    host.require(host.live.size() == kInputs + given,
                 std::to_string(host.live.size() - kInputs - given) + " values left");
    host.require(host.openStreams == 0, std::to_string(host.openStreams) + " streams left open");
    if (outcome.ended == "Velmora:pixlore:validate:argumentOutOfBounds") {
        host.require(host.streamsAtError == 0, "the file is open when the error is raised");
        host.require(host.valuesAtError == kInputs, "values are left when the error is raised");
    }
    for (const std::string& violation : host.violations) {
        outcome.broken += violation + "; ";
    }
    if (output != nullptr) {
        for (std::size_t field = 0; field < output->fields.size(); ++field) {
            outcome.makers[output->fields[field]] = makersOf(output->slots[field]);
        }
    }
    return outcome;
}

class StrictHostCall : public testing::TestWithParam<KindOfFile> {
protected:
    void SetUp() override { ASSERT_NE(entryPoint(), nullptr) << dlerror(); }

    const TiffFile file = GetParam().make();
};
INSTANTIATE_TEST_SUITE_P(Files, StrictHostCall, testing::ValuesIn(kKindsOfFile),
                         [](const testing::TestParamInfo<KindOfFile>& made) {
                             return std::string(made.param.name);
                         });

TEST_P(StrictHostCall, ACallLeavesItsResultAndNothingElse) {
    EXPECT_EQ(call(file).broken, "");
}

TEST_P(StrictHostCall, EveryOperationThatFailsEndsTheCallAndNothingIsLeft) {
    const std::size_t operations = call(file).operations;
    ASSERT_GT(operations, kInputs);
    std::map<std::string, std::size_t> failed;
    for (std::size_t failing = 1; failing <= operations; ++failing) {
        const Outcome outcome = call(file, failing, Failure::ofTheHost);
        ASSERT_EQ(outcome.ended, "operation failed") << failing << outcome.failedOperation;
        ASSERT_EQ(outcome.broken, "") << failing << ' ' << outcome.failedOperation;
        ++failed[outcome.failedOperation];
    }
    if (GetParam().make == kKindsOfFile[0].make) {
        // Each operation was among them, but the two that must not fail or always do.
        EXPECT_EQ(failed.size(), 18U);
    }
}

TEST_P(StrictHostCall, ABadNumericCastIsAnErrorOnceTheFileIsOpen) {
    const std::size_t operations = call(file).operations;
    std::size_t translated = 0;
    for (std::size_t failing = 1; failing <= operations; ++failing) {
        const Outcome outcome = call(file, failing, Failure::badNumericCast);
        ASSERT_EQ(outcome.ended, outcome.isFileOpenAtFailure
                                     ? "Velmora:pixlore:validate:argumentOutOfBounds"
                                     : "bad cast")
            << failing << ' ' << outcome.failedOperation;
        ASSERT_EQ(outcome.broken, "") << failing << ' ' << outcome.failedOperation;
        translated += outcome.isFileOpenAtFailure ? 1U : 0U;
    }
    EXPECT_EQ(translated > 0, call(file).ended == "returned");
}

TEST(StrictHost, AFileThatDoesNotExistLeavesNothing) {
    const Outcome outcome = call(noTiff(), 0, Failure::none, u"missing.tif");
    EXPECT_EQ(outcome.ended, "Velmora:pixlore:ifdsweep:statFailure");
    EXPECT_EQ(outcome.broken, "");
}

TEST(StrictHost, EveryValueIsMadeByItsOperation) {
    const Outcome outcome = call(kKindsOfFile[0].make());
    const std::string exif =
        "StructArray(ExposureTime=NumericArray MeteringMode=CharArray "
        "InteroperabilityIFD=StructArray(InteroperabilityIndex=CharArray))";
    const std::map<std::string, std::string> expected{
        {"Filename", "UString"},
        {"FileModDate", "String"},
        {"FileSize", "DoubleScalar"},
        {"Format", "String"},
        {"FormatVersion", "none"},
        {"Width", "DoubleScalar"},
        {"Height", "DoubleScalar"},
        {"BitDepth", "DoubleScalar"},
        {"ColorType", "String"},
        {"FormatSignature", "NumericArray"},
        {"ByteOrder", "String"},
        {"Offset", "DoubleScalar"},
        {"BitsPerSample", "NumericArray"},
        {"Compression", "CharArray"},
        {"PhotometricInterpretation", "CharArray"},
        {"Make", "CharArray"},
        {"Model", "CharArray"},
        {"StripOffsets", "NumericArray"},
        {"RowsPerStrip", "NumericArray"},
        {"ResolutionUnit", "CharArray"},
        {"GrayResponseUnit", "NumericArray"},
        {"MaxSampleValue", "NumericArray"},
        {"Orientation", "NumericArray"},
        {"Colormap", "NumericArray"},
        {"SampleFormat", "CellArray(String String String)"},
        {"XMP", "CharArray"},
        {"ImageSourceData", "NumericArray"},
        {"DigitalCamera", exif},
        {"GPSInfo", "StructArray(GPSVersionID=NumericArray)"},
        {"UnknownTags",
         "StructArray(ID=DoubleScalar Offset=DoubleScalar Value=NumericArray "
         "ID=DoubleScalar Offset=DoubleScalar Value=String "
         "ID=DoubleScalar Offset=DoubleScalar Value=NumericArray "
         "ID=DoubleScalar Offset=DoubleScalar Value=NumericArray)"},
    };
    for (const auto& [field, maker] : expected) {
        const auto found = outcome.makers.find(field);
        EXPECT_EQ(found == outcome.makers.end() ? "no field" : found->second, maker) << field;
    }
}

}  // namespace
}  // namespace fixture
