#include "softplatform/fault/FaultPlan.h"

#include <algorithm>
#include <optional>

#include "softplatform/fault/Random.h"

namespace tvservice {

std::shared_ptr<FaultPlan> FaultPlan::Parse(const std::vector<std::string>& specs, uint64_t seed,
                                            std::string& error) {
    std::vector<FaultSpec> parsed;
    for (const std::string& text : specs) {
        std::optional<FaultSpec> spec = FaultSpec::Parse(text, error);
        if (!spec) {
            return nullptr;
        }
        parsed.push_back(std::move(*spec));
    }
    return std::shared_ptr<FaultPlan>(new FaultPlan(std::move(parsed), seed));
}

bool FaultPlan::Has(FaultKind kind) const {
    return std::any_of(specs_.begin(), specs_.end(),
                       [kind](const FaultSpec& spec) { return spec.kind == kind; });
}

bool FaultPlan::Has(FaultEvent event) const {
    return std::any_of(specs_.begin(), specs_.end(), [event](const FaultSpec& spec) {
        return Describe(spec.kind).event == event;
    });
}

std::vector<FaultTrigger> FaultPlan::Triggers(FaultEvent event) const {
    std::vector<FaultTrigger> triggers;
    Random seeds(seed_);
    for (const FaultSpec& spec : specs_) {
        const uint64_t seed = seeds.Next();
        if (Describe(spec.kind).event == event) {
            triggers.emplace_back(spec, seed);
        }
    }
    return triggers;
}

std::vector<FaultCount> FaultPlan::counts() const {
    std::vector<FaultCount> rows;
    for (const FaultInfo& info : kFaultTable) {
        if (Has(info.kind)) {
            rows.push_back({info.name, info.meaning, count(info.kind)});
        }
    }
    return rows;
}

}  // namespace tvservice
