#pragma once

// A sink that writes down what it is told, one line an event, for expected values that a test can
// state:
//   begin 0/SubIFDs[1]/0 primary by 330 at 60 of 2
//   entry 0 271 'Make' type 2 x6 at 10 value 50 [68656C6C6F00]
//   default 0 277 'SamplesPerPixel' x1 [1]
//   warning 0 tag 271 at 10 tagDataPastEOF(271, 6)
//   end 0 kept
// A value in its entry is "inline"; behind the bytes stand a readable name in quotes and "dropped
// by" with the message. One thread.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ifdsweep/entry_sink.h"
#include "support/entry_call.h"

namespace fixture {

/// The way to a directory, such as "0/SubIFDs[1]/0"; "-" for none.
[[nodiscard]] std::string pathText(const ifdsweep::DirectoryFacts* directory);

class RecordedWalk final : public ifdsweep::EntrySink {
public:
    void directoryBegins(const ifdsweep::DirectoryFacts& directory) override;
    void directoryEnds(const ifdsweep::DirectoryFacts& directory, bool isKept) override;
    void entry(const ifdsweep::DirectoryFacts& directory,
               const ifdsweep::EntryFacts& entry) override;
    void warning(const qxMessage& message, const ifdsweep::WarningFacts& place) override;

    /// The lines that begin with a word.
    [[nodiscard]] std::vector<std::string> linesOf(std::string_view word) const;

    std::vector<std::string> lines{};
    std::vector<std::string> warnings{};  ///< the messages alone
    Call call{};                          ///< what the host was given
};

/// Reads bytes in memory and writes down the walk.
[[nodiscard]] std::unique_ptr<RecordedWalk> recordedWalk(const Bytes& bytes,
                                                         ifdsweep::Reading reading = {},
                                                         const Numbers& numbers = {},
                                                         const Preparation& prepare = {});

}  // namespace fixture
