// Several threads, each with a host of its own, at the same files.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "adapter/messages.h"
#include "host/host_parts.h"
#include "ifdsweep/host.h"
#include "ifdsweep/qx.h"

namespace {

using ifdsweep::Host;
using ifdsweep::MessageId;
using ifdsweep::ValueHandle;
using ifdsweep::module::Message;

/// What a call does with its host; returns whether all went as it must.
bool useHost(Host& host, const std::vector<std::uint8_t>& bytes, std::int64_t worker) {
    const Host::Scope scope(host);
    filesOf(host).serve(u"shared", bytes);
    std::FILE* stream = qxOpenFile(u"shared", "rb");
    bool good = stream != nullptr && std::fseek(stream, 100, SEEK_SET) == 0 &&
                std::fgetc(stream) == bytes[100];
    good = good && std::fclose(stream) == 0 && qxGetFileStatus(u"/").type == qxFileType::directory;
    const std::array<const char*, 2> names{"Number", "Text"};
    const std::array<std::size_t, 2> size{100, 1};
    const ValueHandle records(qxCreateStructArray(2, size.data(), names.size(), names.data()));
    for (std::size_t element = 0; element < 100; ++element) {
        qxSetField(records.get(), element, "Number",
                   qxCreateDoubleScalar(static_cast<double>(worker)));
        qxSetField(records.get(), element, "Text", qxCreateString("some text of a record"));
    }
    qxWarningMsgId(Message<MessageId::unrecognizedIfd>(worker));
    const std::vector<qxMessage> warnings = host.takeWarnings();
    return good && records->field(99, 0)->doubles()[0] == static_cast<double>(worker) &&
           warnings.size() == 1 && boost::get<std::int64_t>(warnings[0].arguments()[0]) == worker &&
           host.liveValues() == 201;
}

TEST(Threads, HostsDoNotMeet) {
    const std::vector<std::uint8_t> bytes(10'000, 42);
    std::atomic<int> good = 0;
    std::vector<std::jthread> threads;
    for (std::int64_t worker = 0; worker < 8; ++worker) {
        threads.emplace_back([&bytes, &good, worker] {
            Host host;
            for (int call = 0; call < 20; ++call) {
                good += useHost(host, bytes, worker) && host.liveValues() == 0 ? 1 : 0;
            }
        });
    }
    threads.clear();
    EXPECT_EQ(good, 8 * 20);
}

TEST(Threads, AHostMayMoveFromThreadToThread) {
    const std::vector<std::uint8_t> bytes(10'000, 42);
    Host host;
    for (std::int64_t worker = 0; worker < 4; ++worker) {
        bool good = false;
        std::jthread([&] { good = useHost(host, bytes, worker); }).join();
        EXPECT_TRUE(good);
    }
}

}  // namespace
