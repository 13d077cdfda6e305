// Whether what the registry holds is true, and what managers are told.
#include "checks.h"
#include "iftype_text.h"
#include "joined.h"
#include "safe_text.h"
#include "suspects.h"

#include <nuvkit/holder.h>

#include <map>
#include <utility>

namespace nuvctl {

std::optional<Finding> check_holders(const Facts& facts) {
    if (facts.region() == nullptr) {
        return std::nullopt;
    }
    Finding finding;
    for (const Camera& camera : cameras_of_the_dead(facts)) {
        finding.facts.push_back(
            "camera " + std::to_string(camera.entry.id) + " (" +
            safe_text(camera_name(camera.entry)) + ") is marked as open by process " +
            std::to_string(nuvkit::holder_of(camera.entry).process_id) + ", which has died");
    }
    if (finding.facts.empty()) {
        return Finding{Verdict::ok, {"no camera is held by a dead process"}, {}};
    }
    finding.verdict = Verdict::problem;
    finding.remedies.emplace_back("nuvctl repair");
    return finding;
}

std::optional<Finding> check_serial_numbers(const Facts& facts) {
    if (facts.region() == nullptr) {
        return std::nullopt;
    }
    std::map<std::pair<std::uint16_t, std::uint32_t>, std::vector<std::string>> ids;
    for (const Camera& camera : cameras_in(*facts.region())) {
        const NUV_Device& entry = camera.entry;
        ids[{entry.nuv_iftype, entry.serialnumber}].push_back(std::to_string(entry.id));
    }
    Finding finding;
    for (const auto& [key, same] : ids) {
        if (same.size() < 2) {
            continue;
        }
        const std::string serial = std::to_string(key.second);
        finding.verdict = Verdict::warning;
        finding.facts.push_back("cameras " + joined(same, ", ") + " (" + short_name(key.first) +
                                ") all have serial number " + serial +
                                ": opening one may open another");
        finding.remedies.push_back("nuvctl show sn:" + serial);
    }
    if (finding.facts.empty()) {
        finding.facts.emplace_back("each camera of an interface type has its own");
    }
    return finding;
}

std::optional<Finding> check_configuration(const Facts& facts) {
    const Config_file& file = facts.config;
    if (facts.config_remarks.empty()) {
        return Finding{Verdict::ok,
                       {file.path.empty() ? "no file; the defaults hold"
                                          : safe_text(file.path) + " is understood"},
                       {}};
    }
    Finding finding{Verdict::warning, {}, {"nuvctl config --check"}};
    for (const Config_remark& remark : facts.config_remarks) {
        finding.facts.push_back(remark_text(file, remark));
        if (remark.starves_heartbeat) {
            finding.verdict = Verdict::problem;
        }
    }
    return finding;
}

}  // namespace nuvctl
