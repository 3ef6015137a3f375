// docs/columns.md lists every column as the tables have it. With IFDSWEEP_WRITE_COLUMNS=1 the lists
// are written anew, and nothing is compared.

#include <cstdlib>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "columns/table_schema.h"
#include "support/whole_file.h"

namespace {

using ifdsweep::Column;
using ifdsweep::Layout;
using ifdsweep::TagValue;

/// The list of the columns of a layout, of those that are core or of the others.
std::string columnList(Layout layout, bool areCore) {
    std::string list = "| column | type | what it holds | from |\n| --- | --- | --- | --- |\n";
    for (const Column& column : ifdsweep::allColumns(layout)) {
        if (column.isCore != areCore) {
            continue;
        }
        const std::string tag =
            column.takes == TagValue::none ? "" : ", tag " + std::to_string(column.tag);
        list.append("| `").append(column.name).append("` | ");
        list.append("`").append(columnTypeWord(column.type)).append("` | ").append(column.meaning);
        list.append(" | ").append(column.source).append(tag).append(" |\n");
    }
    return list;
}

TEST(ColumnsDocumentTest, ListsEveryColumn) {
    struct Part {
        const char* name;
        Layout layout;
        bool areCore;
    };
    const Part kParts[] = {
        {"files", Layout::files, true},
        {"images", Layout::images, true},
        {"tags", Layout::tags, true},
        {"warnings", Layout::warnings, true},
        {"all of images", Layout::images, false},
    };
    std::string page = fixture::readFile(IFDSWEEP_COLUMNS_PAGE);
    for (const Part& part : kParts) {
        const std::string begin = "<!-- columns of " + std::string(part.name) + " -->\n";
        const std::string end = "<!-- end -->\n";
        const std::size_t from = page.find(begin);
        const std::size_t to = from == std::string::npos ? from : page.find(end, from);
        ASSERT_NE(to, std::string::npos) << part.name;
        const std::size_t first = from + begin.size();
        const std::string list = columnList(part.layout, part.areCore);
        if (std::getenv("IFDSWEEP_WRITE_COLUMNS") != nullptr) {
            page.replace(first, to - first, list);
        } else {
            EXPECT_EQ(page.substr(first, to - first), list) << part.name;
        }
    }
    if (std::getenv("IFDSWEEP_WRITE_COLUMNS") != nullptr) {
        fixture::writeFile(IFDSWEEP_COLUMNS_PAGE, page);
    }
}

}  // namespace
