#include "support/planned_faults.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "host/host_parts.h"

namespace fixture {
namespace {

class PlannedFaults final : public ifdsweep::ReadHook {
public:
    explicit PlannedFaults(std::vector<Fault> faultPlan) : plan(std::move(faultPlan)) {}

    ifdsweep::Interference beforeRead(std::uint64_t number) noexcept override {
        return planned(Fault::Operation::read, number);
    }
    ifdsweep::Interference beforeSeek(std::uint64_t number) noexcept override {
        return planned(Fault::Operation::seek, number);
    }

private:
    [[nodiscard]] ifdsweep::Interference planned(Fault::Operation operation,
                                                 std::uint64_t number) const noexcept {
        ifdsweep::Interference interference;
        const auto fault = std::find_if(plan.begin(), plan.end(), [&](const Fault& candidate) {
            return candidate.operation == operation && candidate.number == number;
        });
        if (fault == plan.end()) {
            return interference;
        }
        switch (fault->effect) {
            case Fault::Effect::fail:
                interference.fails = true;
                break;
            case Fault::Effect::deliverShort:
                interference.accessLimit = fault->bytes;
                break;
            case Fault::Effect::shrinkFile:
                interference.fileLimit = fault->bytes;
                break;
        }
        return interference;
    }

    std::vector<Fault> plan;
};

class PlannedCreationFailure final : public ifdsweep::CreationHook {
public:
    PlannedCreationFailure(std::uint64_t number, std::exception_ptr creationError) noexcept
        : creationsUntilFailure(number) {
        error = std::move(creationError);
    }

    void beforeCreation() override {
        if (creationsUntilFailure != 0 && --creationsUntilFailure == 0) {
            std::rethrow_exception(std::exchange(error, nullptr));
        }
    }

private:
    std::uint64_t creationsUntilFailure;
    std::exception_ptr error;
};

}  // namespace

void setFaultPlan(ifdsweep::Host& host, std::vector<Fault> plan) {
    filesOf(host).setReadHook(std::make_shared<PlannedFaults>(std::move(plan)));
}

void failValueCreation(ifdsweep::Host& host, std::uint64_t number, std::exception_ptr error) {
    failValueCreation(valuesOf(host), number, std::move(error));
}

void failValueCreation(ifdsweep::ValueStore& store, std::uint64_t number,
                       std::exception_ptr error) {
    store.setCreationHook(std::make_shared<PlannedCreationFailure>(number, std::move(error)));
}

}  // namespace fixture
