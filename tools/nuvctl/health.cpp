#include "health.h"

#include "checks.h"

#include <nuv/registry_layout.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <thread>

namespace nuvctl {
namespace {

using std::chrono::milliseconds;

constexpr Check checks[] = {
    {"registry", check_registry},
    {"format", check_format},
    {"heartbeat", check_heartbeat},
    {"semaphores", check_semaphores},
    {"managers", check_managers},
    {"holders", check_holders},
    {"name", check_name},
    {"namespaces", check_namespaces},
    {"access", check_access},
    {"serial numbers", check_serial_numbers},
    {"configuration", check_configuration},
};

/// Longer than anybody holds `sem_rw`, and than most scans take.
constexpr milliseconds patience(3000);

bool count_fits(const Registry_status& status) {
    return !status.view.bytes ||
           status.view.bytes->opencount == managers_on(status.users, status.view);
}

/// The count and the processes are not read at one moment: somebody may have come or gone.
Registry_status settled_status() {
    constexpr milliseconds one_look(0);
    Registry_status status = examine_registry(one_look);
    for (int tries = 0; tries < 3 && !count_fits(status); ++tries) {
        std::this_thread::sleep_for(milliseconds(200));
        status = examine_registry(one_look);
    }
    if (status.view.bytes) {
        status.semaphores = look_at_semaphores(status.view, patience);
    }
    return status;
}

/// Whether an attached manager has its lock on the region, wherever it runs. Only asks.
bool is_somebody_present() {
    const Descriptor region = open_registry();
    return lock_on(region.number, NUV_SHM_PRESENCE_BYTE) == Lock_state::taken;
}

}  // namespace

Facts collect_facts() {
    Facts facts;
    facts.status = settled_status();
    facts.may_attach = may_attach();
    facts.user = geteuid();
    facts.somebody_is_present = is_somebody_present();
    facts.config = read_config("");
    facts.config_remarks = remarks_on(facts.config);
    return facts;
}

std::vector<Diagnosis> diagnose(const Facts& facts) {
    std::vector<Diagnosis> diagnoses;
    for (const Check& check : checks) {
        if (auto finding = check.look(facts)) {
            diagnoses.push_back({&check, std::move(*finding)});
        }
    }
    return diagnoses;
}

Verdict worst_of(const std::vector<Diagnosis>& diagnoses) {
    Verdict worst = Verdict::ok;
    for (const Diagnosis& diagnosis : diagnoses) {
        worst = std::max(worst, diagnosis.finding.verdict);
    }
    return worst;
}

}  // namespace nuvctl
