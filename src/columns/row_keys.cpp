#include "columns/row_keys.h"

#include <algorithm>

#include "columns/directory_paths.h"
#include "columns/utf8_text.h"

namespace ifdsweep {

ColumnBuilder* columnNamed(const TableSchema& schema, std::vector<ColumnBuilder>& columns,
                           std::string_view name) {
    const auto column = std::find_if(schema.columns.begin(), schema.columns.end(),
                                     [name](const Column& known) { return known.name == name; });
    return column == schema.columns.end()
               ? nullptr
               : &columns[static_cast<std::size_t>(column - schema.columns.begin())];
}

RowKeys::RowKeys(const TableSchema& schema, std::vector<ColumnBuilder>& columns,
                 std::size_t leftOut)
    : id(columnNamed(schema, columns, "file_id")),
      shownPath(columnNamed(schema, columns, "file_path")),
      container(columnNamed(schema, columns, "container")),
      stream(columnNamed(schema, columns, "stream")),
      streamOffset(columnNamed(schema, columns, "stream_offset")),
      directoryPath(columnNamed(schema, columns, "dir_path")),
      pathBegin(leftOut) {}

void RowKeys::begin(const PackedFile& file, std::int64_t number) {
    fileId = number;
    systemPath = file.textOf(file.file().path);
    systemPath.remove_prefix(std::min(pathBegin, systemPath.size()));
    filePath = utf8OfBytes(systemPath);
    shown = nullptr;
}

void RowKeys::setFile(std::size_t row) {
    id.setInteger(row, fileId);
    shownPath.setText(row, filePath);
}

void RowKeys::setStream(std::size_t row, const PackedFile& file, const PackedStreamRow& of) {
    setFile(row);
    container.setUnlessEmpty(row, file.textOf(of.container));
    stream.setUnlessEmpty(row, file.textOf(of.name));
    constexpr double kMostExact = 9007199254740992.0;  // 2^53
    if (of.initialOffset >= 0 && of.initialOffset <= kMostExact) {
        streamOffset.setInteger(row, static_cast<std::int64_t>(of.initialOffset));
    }
}

void RowKeys::setDirectory(std::size_t row, const PackedFile& file,
                           const PackedDirectoryRow& directory) {
    setStream(row, file, file.streams()[directory.stream]);
    if (directoryPath) {
        if (shown != &directory) {
            shownDirectory = ifdsweep::directoryPath(file, directory);
            shown = &directory;
        }
        directoryPath.setText(row, shownDirectory);
    }
}

}  // namespace ifdsweep
