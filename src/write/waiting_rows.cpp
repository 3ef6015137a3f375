#include "write/waiting_rows.h"

#include "write/csv_writer.h"

namespace ifdsweep {

void WaitingRows::writeTable(ByteSink& destination) const {
    Output table(destination);
    assembleCsv(file.get(), options, table);
    table.flush();
}

}  // namespace ifdsweep
