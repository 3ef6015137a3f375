#include "write/warning_folding.h"

#include <algorithm>

namespace ifdsweep {

bool WarningFolding::shows(std::string_view id) {
    auto kind = std::find_if(met.begin(), met.end(),
                             [id](const Kind& earlier) { return earlier.id == id; });
    if (kind == met.end()) {
        kind = met.insert(met.end(), Kind{id});
    }
    return ++kind->count <= kShown;
}

}  // namespace ifdsweep
