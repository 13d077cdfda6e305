// Whether the registry is alive.
#include "checks.h"
#include "process_text.h"
#include "suspects.h"
#include "time_text.h"

#include <nuv/registry_layout.h>

#include <algorithm>

namespace nuvctl {
namespace {

void join(Finding& finding, Verdict verdict, const std::string& fact, const std::string& remedy) {
    finding.verdict = std::max(finding.verdict, verdict);
    finding.facts.push_back(fact);
    if (!remedy.empty()) {
        finding.remedies.push_back(remedy);
    }
}

void judge_rw(const Facts& facts, Finding& finding) {
    const Semaphores& semaphores = *facts.status.semaphores;
    if (!is_held(semaphores.rw)) {
        return;
    }
    const std::vector<Region_user> stopped = stopped_of(attached_users(facts));
    join(finding, Verdict::problem,
         "sem_rw was held throughout " + seconds_text(semaphores.watched) +
             ": its holder has died or is stopped, and nobody can read or scan",
         stopped.empty() ? "nuvctl repair" : continuing(facts, stopped));
    if (!stopped.empty()) {
        finding.facts.push_back("attached: " + names_of(stopped));
    }
}

void judge_update(const Facts& facts, Finding& finding) {
    const Semaphores& semaphores = *facts.status.semaphores;
    if (!is_held(semaphores.update)) {
        return;
    }
    const std::string held =
        "sem_update was held throughout " + seconds_text(semaphores.watched) + ": ";
    if (update_holder_is_lost(facts)) {
        join(finding, Verdict::problem,
             held + "nobody who has it lives, so nobody can open or close", "nuvctl repair");
        return;
    }
    const std::vector<Region_user> stopped = stopped_of(attached_users(facts));
    const Process* owner = update_lock_owner(facts.status);
    if (owner != nullptr && owner->stopped) {
        join(finding, Verdict::warning, held + process_text(*owner) + " is stopped",
             continuing(facts, stopped));
        return;
    }
    join(finding, Verdict::warning,
         held + (owner != nullptr ? process_text(*owner) + " scans or opens for long"
                                  : "somebody scans or opens for long, or is stopped"),
         owner != nullptr ? "ps -o pid,stat,wchan,args -p " + std::to_string(owner->id)
                          : as_root(facts, "nuvctl doctor"));
}

void judge_posts(const Semaphore_look& look, Finding& finding) {
    if (look.value > 1) {
        join(finding, Verdict::warning,
             std::string(look.name) + " was posted too often (" + std::to_string(look.value) +
                 "): several may be inside at once",
             "nuvctl repair");
    }
}

std::string stale_text(const Registry_view& view) {
    const std::int64_t age = heartbeat_age(view);
    return (age < 0 ? "lies in the future, as after the clock was set back"
                    : std::to_string(age) + " s ago, more than " +
                          std::to_string(NUV_SHM_DIFFTIME) + " s") +
           std::string(": newcomers will clear the registry");
}

std::string unseen_text(const Facts& facts) {
    return may_have_unseen_users(facts) ? "; not every process could be examined" : "";
}

}  // namespace

std::optional<Finding> check_heartbeat(const Facts& facts) {
    const Registry_view& view = facts.view();
    if (!view.bytes) {
        return std::nullopt;
    }
    if (view.state == Registry_state::live) {
        return Finding{Verdict::ok, {std::to_string(heartbeat_age(view)) + " s ago"}, {}};
    }
    Finding finding{Verdict::problem, {stale_text(view)}, {}};
    if (const std::vector<Region_user> users = attached_users(facts); !users.empty()) {
        finding.facts.push_back("attached, but without a heartbeat: " + names_of(users));
        if (const std::vector<Region_user> stopped = stopped_of(users); !stopped.empty()) {
            finding.remedies.push_back(continuing(facts, stopped));
            return finding;
        }
        finding.remedies = ending(facts, users);
    } else {
        finding.facts.push_back("no process has it mapped" + unseen_text(facts));
    }
    finding.remedies.emplace_back("nuvctl repair");
    return finding;
}

std::optional<Finding> check_semaphores(const Facts& facts) {
    if (!facts.status.semaphores) {
        return std::nullopt;
    }
    Finding finding;
    judge_rw(facts, finding);
    judge_update(facts, finding);
    judge_posts(facts.status.semaphores->rw, finding);
    judge_posts(facts.status.semaphores->update, finding);
    if (finding.facts.empty()) {
        finding.facts.emplace_back("sem_rw and sem_update are free, or held for moments");
    }
    return finding;
}

std::optional<Finding> check_managers(const Facts& facts) {
    if (facts.region() == nullptr) {
        return std::nullopt;
    }
    const int counted = facts.region()->opencount;
    const int living = managers_on(facts.status.users, facts.view());
    Finding finding{Verdict::ok,
                    {std::to_string(counted) + " counted, " + std::to_string(living) +
                     " found in processes" + unseen_text(facts)},
                    {}};
    if (all_have_died(facts)) {
        join(finding, Verdict::problem, "all have died: nobody keeps this registry",
             "nuvctl repair");
    } else if (seems_abandoned(facts)) {
        join(finding, Verdict::warning, "no manager's lock is on it: all seem to have died",
             as_root(facts, "nuvctl doctor"));
    } else if (count_is_too_high(facts)) {
        join(finding, Verdict::warning,
             "some have died without leaving: the last to leave will not remove the registry",
             "nuvctl repair");
    } else if (counted < living) {
        join(finding, Verdict::warning,
             "the registry was cleared under its users; restart them: " +
                 names_of(attached_users(facts)),
             "");
        finding.remedies = ending(facts, attached_users(facts));
    }
    return finding;
}

}  // namespace nuvctl
