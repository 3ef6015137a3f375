#pragma once

// Exit status: how the program ends. Constants; any thread.

namespace ifdsweep {

enum ExitStatus : int {
    kAllRead = 0,
    kSomeFailed = 1,
    kWrongUsage = 2,
    kSomeWarned = 3,      ///< with --strict
    kSignalBase = 128,    ///< and the number of the signal that ended it: 129, 130, 143
    kOutputClosed = 141,  ///< as a shell reports a program ended by SIGPIPE
};

}  // namespace ifdsweep
