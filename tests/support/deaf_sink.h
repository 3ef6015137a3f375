#pragma once

// Deaf sink: a sink that hears of everything and keeps nothing. Any thread.

#include "ifdsweep/entry_sink.h"

namespace fixture {

class DeafSink final : public ifdsweep::EntrySink {
public:
    void directoryBegins(const ifdsweep::DirectoryFacts& /*directory*/) override {}
    void directoryEnds(const ifdsweep::DirectoryFacts& /*directory*/, bool /*isKept*/) override {}
    void entry(const ifdsweep::DirectoryFacts& /*directory*/,
               const ifdsweep::EntryFacts& /*entry*/) override {}
    void warning(const qxMessage& /*message*/, const ifdsweep::WarningFacts& /*place*/) override {}
};

}  // namespace fixture
