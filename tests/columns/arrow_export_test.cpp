// Arrow export: what a consumer finds, that it may move and release it as the interfaces say, and
// that nothing is left when memory runs out on the way.

#include "columns/arrow_export.h"

#include <malloc.h>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "columns/column_builder.h"
#include "hostile/failing_memory.h"
#include "io/sanitized.h"

namespace {

using ifdsweep::Column;
using ifdsweep::ColumnBatch;
using ifdsweep::ColumnBuilder;
using ifdsweep::ColumnType;
using ifdsweep::ItemType;
using ifdsweep::TableSchema;

constexpr std::array<ItemType, 12> kItemTypes{
    ItemType::int16,   ItemType::int32,   ItemType::int64,    ItemType::float64,
    ItemType::boolean, ItemType::utf8,    ItemType::binary,   ItemType::word,
    ItemType::time,    ItemType::instant, ItemType::rational, ItemType::unknownTag};

TableSchema tableOf(const std::vector<ColumnType>& types) {
    TableSchema table;
    for (const ColumnType& type : types) {
        Column column;
        column.name = (type.isList ? "l" : "c") + std::to_string(static_cast<int>(type.item));
        column.type = type;
        column.id = static_cast<std::int32_t>(table.columns.size() + 1);
        table.columns.push_back(column);
    }
    return table;
}

TableSchema tableOfEveryType() {
    std::vector<ColumnType> types;
    for (const ItemType item : kItemTypes) {
        types.push_back({item});
        types.push_back({item, true});
    }
    return tableOf(types);
}

void setValue(ColumnBuilder& builder, std::size_t row, std::int64_t number) {
    if (builder.type().isList) {
        builder.beginList(row);
        for (std::int64_t item = 0; item < number % 4; ++item) {
            setValue(builder.items(), builder.items().size(), item);
        }
        return;
    }
    switch (builder.type().item) {
        case ItemType::float64:
            builder.setNumber(row, static_cast<double>(number) / 2);
            break;
        case ItemType::utf8:
        case ItemType::binary:
            builder.setText(row, "text " + std::to_string(number));
            break;
        case ItemType::word:
            builder.setText(row, number % 2 == 0 ? "even" : "odd");
            break;
        case ItemType::rational:
            builder.setStruct(row);
            builder.member(0).setInteger(row, number);
            builder.member(1).setInteger(row, 3);
            break;
        case ItemType::unknownTag:
            builder.setStruct(row);
            builder.member(0).setInteger(row, 65000);
            builder.member(4).setText(row, "unknown");
            setValue(builder.member(5), row, number);
            break;
        default:
            builder.setInteger(row, number % 2);
    }
}

/// A batch of a table; each column lacks another row.
ColumnBatch batchOf(const TableSchema& table, std::size_t rows) {
    ColumnBatch batch{rows, {}};
    for (std::size_t number = 0; number < table.columns.size(); ++number) {
        ColumnBuilder builder(table.columns[number].type);
        for (std::size_t row = 0; row < rows; ++row) {
            if (row % 5 != number % 7) {
                setValue(builder, row, static_cast<std::int64_t>(row));
            }
        }
        batch.columns.push_back(builder.take(rows));
    }
    return batch;
}

/// Every schema and array below is released in the end: a test that forgets it has a leak.
template <class Structure>
class Held {
public:
    Held() = default;
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held() { release(); }

    Structure* operator->() { return &structure; }
    Structure& operator*() { return structure; }
    void release() {
        if (structure.release != nullptr) {
            structure.release(&structure);
        }
    }

private:
    Structure structure{};
};

/// What a consumer does that takes a structure to another place, bit by bit.
template <class Structure>
void moveTo(Structure& target, Structure& source) {
    std::memcpy(&target, &source, sizeof source);
    source.release = nullptr;
}

template <class Number>
Number numberAt(const void* buffer, std::int64_t position) {
    Number number;
    std::memcpy(&number, static_cast<const char*>(buffer) + position * std::int64_t{sizeof number},
                sizeof number);
    return number;
}

bool bitAt(const void* buffer, std::int64_t position) {
    return (numberAt<std::uint8_t>(buffer, position / 8) >> position % 8 & 1) != 0;
}

std::string valueAt(const ArrowSchema& schema, const ArrowArray& array, std::int64_t row);

std::string runAt(const ArrowSchema& schema, const ArrowArray& array, std::int64_t row) {
    const auto begin = numberAt<std::int32_t>(array.buffers[1], row);
    const auto end = numberAt<std::int32_t>(array.buffers[1], row + 1);
    if (std::string_view(schema.format) != "+l") {
        return '"' +
               std::string(static_cast<const char*>(array.buffers[2]) + begin,
                           static_cast<const char*>(array.buffers[2]) + end) +
               '"';
    }
    std::string text = "[";
    for (std::int64_t item = begin; item < end; ++item) {
        text += (item > begin ? " " : "") + valueAt(*schema.children[0], *array.children[0], item);
    }
    return text + ']';
}

/// A value as one finds it who knows the formats alone.
std::string valueAt(const ArrowSchema& schema, const ArrowArray& array, std::int64_t row) {
    const void* const valid = array.buffers[0];
    if (valid != nullptr && !bitAt(valid, row)) {
        return "null";
    }
    const std::string format = schema.format;
    if (schema.dictionary != nullptr) {
        return runAt(*schema.dictionary, *array.dictionary,
                     numberAt<std::int32_t>(array.buffers[1], row));
    }
    if (format == "+s") {
        std::string text = "{";
        for (std::int64_t number = 0; number < schema.n_children; ++number) {
            text += (number > 0 ? " " : "") +
                    valueAt(*schema.children[number], *array.children[number], row);
        }
        return text + '}';
    }
    if (format == "b") {
        return bitAt(array.buffers[1], row) ? "true" : "false";
    }
    if (format == "g") {
        std::ostringstream text;
        text << numberAt<double>(array.buffers[1], row);
        return text.str();
    }
    if (format == "s") {
        return std::to_string(numberAt<std::int16_t>(array.buffers[1], row));
    }
    if (format == "i") {
        return std::to_string(numberAt<std::int32_t>(array.buffers[1], row));
    }
    if (format == "l" || format.rfind("ts", 0) == 0) {
        return std::to_string(numberAt<std::int64_t>(array.buffers[1], row));
    }
    return runAt(schema, array, row);
}

std::string columnAt(const ArrowSchema& schema, const ArrowArray& array) {
    std::string text;
    for (std::int64_t row = 0; row < array.length; ++row) {
        text += (row > 0 ? " " : "") + valueAt(schema, array, row);
    }
    return text;
}

std::string schemaText(const ArrowSchema& schema) {
    std::string text = std::string(schema.name) + ':' + schema.format;
    text += (schema.flags & ARROW_FLAG_NULLABLE) != 0 ? "?" : "";
    if (schema.dictionary != nullptr) {
        text += '<' + schemaText(*schema.dictionary) + '>';
    }
    for (std::int64_t number = 0; number < schema.n_children; ++number) {
        text += (number == 0 ? "(" : " ") + schemaText(*schema.children[number]);
    }
    return text + (schema.n_children > 0 ? ")" : "");
}

std::string int32Text(std::int32_t number) {
    std::array<char, sizeof number> bytes{};
    std::memcpy(bytes.data(), &number, sizeof number);
    return {bytes.data(), bytes.size()};
}

std::string metadataText(const std::string& key, const std::string& value) {
    return int32Text(1) + int32Text(static_cast<std::int32_t>(key.size())) + key +
           int32Text(static_cast<std::int32_t>(value.size())) + value;
}

TEST(ArrowSchemas, TellTheTypesOfAllColumns) {
    Held<ArrowSchema> schema;
    ifdsweep::exportSchema(tableOfEveryType(), *schema);
    EXPECT_EQ(schemaText(*schema),
              ":+s("
              "c0:s? l0:+l?(item:s?) c1:i? l1:+l?(item:i?) c2:l? l2:+l?(item:l?) "
              "c3:g? l3:+l?(item:g?) c4:b? l4:+l?(item:b?) c5:u? l5:+l?(item:u?) "
              "c6:z? l6:+l?(item:z?) c7:i?<:u?> l7:+l?(item:i?<:u?>) "
              "c8:tsu:? l8:+l?(item:tsu:?) c9:tsu:UTC? l9:+l?(item:tsu:UTC?) "
              "c10:+s?(num:l? den:l?) l10:+l?(item:+s?(num:l? den:l?)) "
              "c11:+s?(tag:i? type:i? count:l? position:l? text:u? numbers:+l?(item:g?)) "
              "l11:+l?(item:+s?(tag:i? type:i? count:l? position:l? text:u? "
              "numbers:+l?(item:g?))))");
}

TEST(ArrowSchemas, NumberTheirColumnsAndNameTheirTable) {
    const TableSchema table = tableOf({{ItemType::int32}, {ItemType::word, true}});
    Held<ArrowSchema> schema;
    ifdsweep::exportSchema(table, *schema);
    const auto metadataOf = [](const ArrowSchema& one, std::size_t size) {
        return std::string(one.metadata, size);
    };
    const std::string whole = metadataText("ifdsweep:schema", table.identity());
    EXPECT_EQ(metadataOf(*schema, whole.size()), whole);
    for (const int number : {0, 1}) {
        const std::string field = metadataText("PARQUET:field_id", std::to_string(number + 1));
        EXPECT_EQ(metadataOf(*schema->children[number], field.size()), field);
    }
    EXPECT_EQ(schema->children[1]->children[0]->metadata, nullptr);
}

TEST(ArrowSchemas, OutliveTheTable) {
    Held<ArrowSchema> schema;
    {
        TableSchema table = tableOf({{ItemType::int32}});
        table.columns[0].name = "a name that does not fit into a small string";
        ifdsweep::exportSchema(table, *schema);
    }
    EXPECT_EQ(schemaText(*schema), ":+s(a name that does not fit into a small string:i?)");
}

TEST(ArrowSchemas, LetTheirChildrenBeMovedOutOneByOne) {
    Held<ArrowSchema> schema;
    ifdsweep::exportSchema(tableOfEveryType(), *schema);
    std::array<Held<ArrowSchema>, 2> children;
    moveTo(*children[0], *schema->children[15]);
    Held<ArrowSchema> dictionary;
    moveTo(*dictionary, *schema->children[14]->dictionary);
    moveTo(*children[1], *schema->children[22]);
    schema.release();
    EXPECT_EQ(schemaText(*children[0]), "l7:+l?(item:i?<:u?>)");
    EXPECT_EQ(schemaText(*dictionary), ":u?");
    EXPECT_EQ(schemaText(*children[1]),
              "c11:+s?(tag:i? type:i? count:l? position:l? text:u? numbers:+l?(item:g?))");
}

TEST(ArrowArrays, HoldTheValuesOfTheBatch) {
    const TableSchema table = tableOf({{ItemType::int16},
                                       {ItemType::float64},
                                       {ItemType::boolean},
                                       {ItemType::utf8},
                                       {ItemType::word},
                                       {ItemType::int64, true},
                                       {ItemType::rational, true},
                                       {ItemType::unknownTag, true}});
    Held<ArrowSchema> schema;
    Held<ArrowArray> array;
    ifdsweep::exportSchema(table, *schema);
    ifdsweep::exportBatch(batchOf(table, 4), *array);
    EXPECT_EQ(array->length, 4);
    EXPECT_EQ(array->null_count, 0);
    EXPECT_EQ(array->n_buffers, 1);
    EXPECT_EQ(array->buffers[0], nullptr);
    ASSERT_EQ(array->n_children, 8);
    std::vector<std::string> columns;
    for (std::int64_t number = 0; number < array->n_children; ++number) {
        columns.push_back(columnAt(*schema->children[number], *array->children[number]));
    }
    EXPECT_EQ(columns, (std::vector<std::string>{
                           "null 1 0 1", "0 null 1 1.5", "false true null true",
                           R"("text 0" "text 1" "text 2" null)", R"("even" "odd" "even" "odd")",
                           "[] [0] [0 1] [0 1 0]", "[] [{0 3}] [{0 3} {1 3}] [{0 3} {1 3} {2 3}]",
                           R"(null [{65000 null null null "unknown" []}] )"
                           R"([{65000 null null null "unknown" []} )"
                           R"({65000 null null null "unknown" [0]}] )"
                           R"([{65000 null null null "unknown" []} )"
                           R"({65000 null null null "unknown" [0]} )"
                           R"({65000 null null null "unknown" [0 0.5]}])"}));
}

/// What holds for every array.
void expectLawful(const ArrowSchema& schema, const ArrowArray& array) {
    const std::string format = schema.format;
    EXPECT_EQ(array.offset, 0);
    EXPECT_EQ(array.n_children, schema.n_children);
    EXPECT_EQ(array.dictionary == nullptr, schema.dictionary == nullptr);
    const bool isText = format == "u" || format == "z";
    EXPECT_EQ(array.n_buffers, isText ? 3 : format == "+s" ? 1 : 2) << format;
    for (std::int64_t number = 0; number < array.n_buffers; ++number) {
        const void* const buffer = array.buffers[number];
        EXPECT_EQ(std::bit_cast<std::uintptr_t>(buffer) % 64, 0U);
        EXPECT_TRUE(buffer != nullptr || (number == 0 && array.null_count == 0)) << format;
    }
    std::int64_t nulls = 0;
    for (std::int64_t row = 0; row < array.length; ++row) {
        nulls += array.buffers[0] != nullptr && !bitAt(array.buffers[0], row) ? 1 : 0;
    }
    EXPECT_EQ(array.null_count, nulls);
    if (isText || format == "+l") {
        EXPECT_EQ(numberAt<std::int32_t>(array.buffers[1], 0), 0);
        for (std::int64_t row = 0; row < array.length; ++row) {
            EXPECT_LE(numberAt<std::int32_t>(array.buffers[1], row),
                      numberAt<std::int32_t>(array.buffers[1], row + 1));
        }
    }
    if (format == "+l") {
        EXPECT_EQ(numberAt<std::int32_t>(array.buffers[1], array.length),
                  array.children[0]->length);
    }
    if (array.dictionary != nullptr) {
        for (std::int64_t row = 0; row < array.length; ++row) {
            const auto index = numberAt<std::int32_t>(array.buffers[1], row);
            EXPECT_TRUE(valueAt(schema, array, row) == "null" ||
                        (index >= 0 && index < array.dictionary->length));
        }
        expectLawful(*schema.dictionary, *array.dictionary);
    }
    for (std::int64_t number = 0; number < array.n_children; ++number) {
        if (format == "+s") {
            EXPECT_EQ(array.children[number]->length, array.length);
        }
        expectLawful(*schema.children[number], *array.children[number]);
    }
}

TEST(ArrowArrays, HaveEveryBufferAlignedAndNullOnlyWhereThatIsAllowed) {
    const TableSchema table = tableOfEveryType();
    Held<ArrowSchema> schema;
    ifdsweep::exportSchema(table, *schema);
    for (const std::size_t rows : {0U, 1U, 4U, 64U, 1000U}) {
        Held<ArrowArray> array;
        ifdsweep::exportBatch(batchOf(table, rows), *array);
        EXPECT_EQ(array->length, static_cast<std::int64_t>(rows));
        expectLawful(*schema, *array);
    }
}

TEST(ArrowArrays, OfColumnsOfNullsAloneAreLawfulToo) {
    const TableSchema table = tableOfEveryType();
    Held<ArrowSchema> schema;
    ifdsweep::exportSchema(table, *schema);
    for (const std::size_t rows : {0U, 1U, 65536U, 65537U}) {
        ColumnBatch batch{rows, {}};
        for (const Column& column : table.columns) {
            batch.columns.push_back(ColumnBuilder(column.type).take(rows));
        }
        Held<ArrowArray> array;
        ifdsweep::exportBatch(std::move(batch), *array);
        expectLawful(*schema, *array);
        for (std::int64_t number = 0; number < array->n_children; ++number) {
            EXPECT_EQ(array->children[number]->null_count, static_cast<std::int64_t>(rows));
        }
    }
}

TEST(ArrowArrays, GiveBuffersAwayWithoutACopyAndFreeThemWithTheLastWhoHasThem) {
    ColumnBatch batch = batchOf(tableOf({{ItemType::int64}, {ItemType::utf8}}), 100);
    const std::byte* const numbers = batch.columns[0].buffers[1].bytes.get();
    const std::weak_ptr<const std::byte> numberOwner = batch.columns[0].buffers[1].bytes;
    const std::weak_ptr<const std::byte> letterOwner = batch.columns[1].buffers[2].bytes;
    Held<ArrowArray> array;
    ifdsweep::exportBatch(std::move(batch), *array);
    EXPECT_EQ(array->children[0]->buffers[1], numbers);
    Held<ArrowArray> child;
    moveTo(*child, *array->children[1]);
    EXPECT_FALSE(numberOwner.expired());
    array.release();
    EXPECT_TRUE(numberOwner.expired());
    EXPECT_FALSE(letterOwner.expired());
    child.release();
    EXPECT_TRUE(letterOwner.expired());
}

TEST(ArrowArrays, AreReleasedByAnyThreadInAnyOrderWhereverTheyWereMoved) {
    const TableSchema table = tableOfEveryType();
    Held<ArrowSchema> schema;
    ifdsweep::exportSchema(table, *schema);
    for (int turn = 0; turn < 20; ++turn) {
        std::vector<std::thread> threads;
        std::vector<std::unique_ptr<Held<ArrowArray>>> children;
        {
            Held<ArrowArray> array;
            ifdsweep::exportBatch(batchOf(table, 50), *array);
            for (std::int64_t number = 0; number < array->n_children; number += 1 + turn % 3) {
                children.push_back(std::make_unique<Held<ArrowArray>>());
                moveTo(**children.back(), *array->children[number]);
            }
            auto moved = std::make_unique<Held<ArrowArray>>();
            moveTo(**moved, *array);
            threads.emplace_back([owned = std::move(moved)]() mutable { owned.reset(); });
        }
        for (auto& child : children) {
            threads.emplace_back([owned = std::move(child)]() mutable {
                EXPECT_EQ((*owned)->length, 50);
                if ((*owned)->dictionary != nullptr) {
                    Held<ArrowArray> dictionary;
                    moveTo(*dictionary, *(*owned)->dictionary);
                    owned.reset();
                    EXPECT_EQ(dictionary->length, 2);
                }
                owned.reset();
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
}

TEST(ArrowArrays, SayThatTheyAreReleased) {
    Held<ArrowArray> array;
    Held<ArrowSchema> schema;
    ifdsweep::exportBatch(batchOf(tableOfEveryType(), 3), *array);
    ifdsweep::exportSchema(tableOfEveryType(), *schema);
    array->release(&*array);
    schema->release(&*schema);
    EXPECT_EQ(array->release, nullptr);
    EXPECT_EQ(schema->release, nullptr);
}

/// A stream of so many batches, which counts how often it was asked and whether it was freed.
struct Watched {
    int batches = 0;
    int asked = 0;
    std::shared_ptr<int> kept = std::make_shared<int>();
};

void streamOf(Watched& watched, const TableSchema& table, ArrowArrayStream& stream) {
    const std::shared_ptr<int> kept = watched.kept;
    ifdsweep::exportStream(
        std::make_shared<const TableSchema>(table),
        [&watched, &table, kept]() -> std::optional<ColumnBatch> {
            if (watched.asked++ >= watched.batches) {
                return std::nullopt;
            }
            return batchOf(table, static_cast<std::size_t>(watched.asked));
        },
        stream);
}

TEST(ArrowStreams, GiveTheSchemaAndOneBatchAfterTheOtherAndThenEnd) {
    const TableSchema table = tableOfEveryType();
    Watched watched{3};
    Held<ArrowArrayStream> stream;
    streamOf(watched, table, *stream);
    for (int turn = 0; turn < 2; ++turn) {
        Held<ArrowSchema> schema;
        EXPECT_EQ(stream->get_schema(&*stream, &*schema), 0);
        EXPECT_EQ(schema->n_children, 24);
    }
    for (int length = 1; length <= 3; ++length) {
        Held<ArrowArray> array;
        EXPECT_EQ(stream->get_next(&*stream, &*array), 0);
        EXPECT_EQ(array->length, length);
    }
    EXPECT_EQ(watched.kept.use_count(), 2);
    for (int turn = 0; turn < 2; ++turn) {
        Held<ArrowArray> array;
        EXPECT_EQ(stream->get_next(&*stream, &*array), 0);
        EXPECT_EQ(array->release, nullptr);
    }
    EXPECT_EQ(watched.asked, 4);
    EXPECT_EQ(watched.kept.use_count(), 1);
    EXPECT_EQ(stream->get_last_error(&*stream), nullptr);
}

TEST(ArrowStreams, FreeTheirSourceWhenTheyAreReleasedBeforeTheEndWhereverTheyWereMoved) {
    const TableSchema table = tableOf({{ItemType::utf8}});
    Watched watched{100};
    Held<ArrowArray> array;
    auto moved = std::make_unique<Held<ArrowArrayStream>>();
    {
        Held<ArrowArrayStream> stream;
        streamOf(watched, table, *stream);
        moveTo(**moved, *stream);
    }
    EXPECT_EQ((*moved)->get_next(&**moved, &*array), 0);
    EXPECT_EQ(watched.kept.use_count(), 2);
    std::thread([owned = std::move(moved)]() mutable { owned.reset(); }).join();
    EXPECT_EQ(watched.kept.use_count(), 1);
    EXPECT_EQ(array->length, 1);
}

struct ErrorCase {
    const char* name;
    std::function<void()> fail;
    int number;
    std::string text;
};

class ArrowStreamErrors : public testing::TestWithParam<ErrorCase> {};

TEST_P(ArrowStreamErrors, AreToldByNumberAndTextAsOftenAsTheyAreAskedFor) {
    int asked = 0;
    Held<ArrowArrayStream> stream;
    const auto table = std::make_shared<const TableSchema>(tableOf({{ItemType::utf8}}));
    ifdsweep::exportStream(
        table,
        [&asked, table, fail = GetParam().fail]() -> std::optional<ColumnBatch> {
            if (++asked == 2) {
                fail();
            }
            return batchOf(*table, 1);
        },
        *stream);
    Held<ArrowArray> first;
    EXPECT_EQ(stream->get_next(&*stream, &*first), 0);
    for (int turn = 0; turn < 3; ++turn) {
        Held<ArrowArray> array;
        EXPECT_EQ(stream->get_next(&*stream, &*array), GetParam().number);
        EXPECT_EQ(array->release, nullptr);
        ASSERT_NE(stream->get_last_error(&*stream), nullptr);
        EXPECT_EQ(stream->get_last_error(&*stream), GetParam().text);
    }
    EXPECT_EQ(asked, 2);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, ArrowStreamErrors,
    testing::Values(ErrorCase{"memory", [] { throw std::bad_alloc(); }, ENOMEM, "out of memory"},
                    ErrorCase{"broken", [] { throw std::runtime_error("the disk broke"); }, EIO,
                              "the disk broke"},
                    ErrorCase{"invalid", [] { throw std::invalid_argument("no such thing"); },
                              EINVAL, "no such thing"},
                    ErrorCase{"other", [] { throw 1; }, EIO, "unknown error"}),
    [](const auto& tested) { return std::string(tested.param.name); });

/// Does something while one request for memory after the other fails, until none does.
/// @return how often it ended for want of memory
std::uint64_t failEachRequest(const std::function<void()>& step) {
    for (std::uint64_t number = 1;; ++number) {
        const fixture::FailingRequest failing(number);
        try {
            step();
            EXPECT_FALSE(failing.hasFailed()) << "request " << number;
        } catch (const std::bad_alloc&) {
            EXPECT_TRUE(failing.hasFailed());
        }
        if (!failing.hasFailed()) {
            return number - 1;
        }
    }
}

TEST(ArrowExport, LeavesNothingBehindWhereMemoryRunsOut) {
    const TableSchema table = tableOfEveryType();
    Held<ArrowSchema> schema;
    const std::uint64_t ofSchema = failEachRequest([&] {
        schema.release();
        ifdsweep::exportSchema(table, *schema);
    });
    EXPECT_GT(ofSchema, 100U);

    const ColumnBatch batch = batchOf(table, 1000);
    const std::weak_ptr<const std::byte> buffer = batch.columns[0].buffers[1].bytes;
    {
        Held<ArrowArray> array;
        const std::uint64_t ofBatch = failEachRequest([&] {
            array.release();
            EXPECT_EQ(buffer.use_count(), 1);
            ifdsweep::exportBatch(batch, *array);
        });
        EXPECT_GT(ofBatch, 100U);
        EXPECT_EQ(buffer.use_count(), 2);
        expectLawful(*schema, *array);
    }
    EXPECT_EQ(buffer.use_count(), 1);
}

TEST(ArrowExport, IsReleasedWhereItFailedHalfWay) {
    const TableSchema table = tableOfEveryType();
    const ColumnBatch batch = batchOf(table, 20);
    for (const std::uint64_t number : {1U, 2U, 30U, 80U}) {
        ArrowSchema schema{};
        schema.release = [](ArrowSchema* /*unused*/) {};
        ArrowArray array{};
        array.release = [](ArrowArray* /*unused*/) {};
        {
            const fixture::FailingRequest failing(number);
            EXPECT_THROW(ifdsweep::exportSchema(table, schema), std::bad_alloc);
        }
        ColumnBatch copy = batch;
        {
            const fixture::FailingRequest failing(number);
            EXPECT_THROW(ifdsweep::exportBatch(std::move(copy), array), std::bad_alloc);
        }
        EXPECT_EQ(schema.release, nullptr);
        EXPECT_EQ(array.release, nullptr);
    }
}

TEST(ArrowStreams, TellOfMemoryThatRanOutAndNeverThrow) {
    const TableSchema table = tableOfEveryType();
    bool worked = false;
    for (std::uint64_t number = 1; !worked; ++number) {
        Watched watched{1};
        Held<ArrowArrayStream> stream;
        Held<ArrowSchema> schema;
        Held<ArrowArray> array;
        bool isMade = false;
        int ofSchema = 0;
        int ofBatch = 0;
        {
            const fixture::FailingRequest failing(number);
            try {
                streamOf(watched, table, *stream);
                isMade = true;
            } catch (const std::bad_alloc&) {
                EXPECT_EQ(stream->release, nullptr);
            }
            if (isMade) {
                ofSchema = stream->get_schema(&*stream, &*schema);
                ofBatch = stream->get_next(&*stream, &*array);
            }
            worked = !failing.hasFailed();
        }
        EXPECT_EQ(ofSchema == 0, schema->release != nullptr || !isMade);
        EXPECT_EQ(ofBatch == 0, array->release != nullptr || !isMade);
        EXPECT_TRUE(ofSchema == 0 || ofSchema == ENOMEM);
        EXPECT_TRUE(ofBatch == 0 || ofBatch == ENOMEM);
        if (ofBatch != 0) {
            EXPECT_STREQ(stream->get_last_error(&*stream), "out of memory");
        }
        stream.release();
        EXPECT_EQ(watched.kept.use_count(), 1);
    }
}

TEST(ColumnBuilderMemory, LeavesRowsThatCanBeTakenAndABuilderThatCanBeUsed) {
    for (const Column& column : tableOfEveryType().columns) {
        bool worked = false;
        for (std::uint64_t number = 1; !worked; ++number) {
            ColumnBuilder builder(column.type);
            {
                const fixture::FailingRequest failing(number);
                for (std::size_t row = 0; row < 200; ++row) {
                    try {
                        setValue(builder, row, static_cast<std::int64_t>(row));
                    } catch (const std::bad_alloc&) {
                        EXPECT_TRUE(failing.hasFailed());
                    }
                }
                worked = !failing.hasFailed();
            }
            const auto expectTaken = [&] {
                TableSchema table = tableOf({column.type});
                ColumnBatch batch{200, {}};
                batch.columns.push_back(builder.take(200));
                EXPECT_LE(batch.columns[0].nullCount, 1U);
                Held<ArrowSchema> schema;
                Held<ArrowArray> array;
                ifdsweep::exportSchema(table, *schema);
                ifdsweep::exportBatch(std::move(batch), *array);
                expectLawful(*schema, *array);
            };
            expectTaken();
            for (std::size_t row = 0; row < 200; ++row) {
                setValue(builder, row, static_cast<std::int64_t>(row));
            }
            expectTaken();
        }
    }
}

TEST(ColumnBuilderMemory, IsEmptyWhereItRanOutWhileRowsWereTaken) {
    for (const Column& column : tableOfEveryType().columns) {
        ColumnBuilder builder(column.type);
        bool worked = false;
        for (std::uint64_t number = 1; !worked; ++number) {
            for (std::size_t row = 0; row < 20; ++row) {
                setValue(builder, 2 * row, static_cast<std::int64_t>(row));
            }
            {
                const fixture::FailingRequest failing(number);
                try {
                    EXPECT_EQ(builder.take(50).nullCount, 30U);
                } catch (const std::bad_alloc&) {
                    EXPECT_TRUE(failing.hasFailed());
                }
                worked = !failing.hasFailed();
            }
            EXPECT_EQ(builder.size(), 0U);
            EXPECT_EQ(builder.byteCount(), 0U);
        }
    }
}

TEST(ArrowExport, IsDoneAMillionTimesWithoutGrowth) {
    constexpr int kTimes = ifdsweep::kIsSanitized ? 10'000 : 1'000'000;
    const TableSchema table =
        tableOf({{ItemType::int64}, {ItemType::word}, {ItemType::utf8, true}});
    const ColumnBatch batch = batchOf(table, 10);
    const auto exportOnce = [&](int time) {
        Held<ArrowSchema> schema;
        Held<ArrowArray> array;
        Held<ArrowArray> child;
        ifdsweep::exportSchema(table, *schema);
        ifdsweep::exportBatch(batch, *array);
        moveTo(*child, *array->children[time % 3]);
        if (time % 2 == 0) {
            array.release();
        }
        ASSERT_EQ(child->length, 10);
    };
    for (int time = 0; time < 1000; ++time) {
        exportOnce(time);
    }
    const std::size_t before = mallinfo2().uordblks;
    for (int time = 0; time < kTimes; ++time) {
        exportOnce(time);
    }
    EXPECT_EQ(mallinfo2().uordblks, before);
}

}  // namespace
