// What `doctor` looks at, and what it makes of it.
#pragma once

#include "config_check.h"
#include "registry_status.h"

#include <optional>
#include <string>
#include <vector>

namespace nuvctl {

/// All that the checks go by, found out once: a check is a function of this alone.
struct Facts {
    Registry_status status;
    bool may_attach = true;  ///< whether this user may write to the registry
    uid_t user = 0;          ///< who asks
    /// A lock says that somebody is attached, also where /proc does not show who.
    bool somebody_is_present = false;
    Config_file config;
    std::vector<Config_remark> config_remarks;

    bool is_root() const { return user == 0; }
    const Registry_view& view() const { return status.view; }
    /// Null when the region could not be read.
    const NUV_Devlist_Shm* region() const { return view().bytes ? &*view().bytes : nullptr; }
};

/// Takes up to a second while a count does not fit, and three when a semaphore is held.
Facts collect_facts();

enum class Verdict { ok, warning, problem };

struct Finding {
    Verdict verdict = Verdict::ok;
    std::vector<std::string> facts;     ///< in words, safe to print; at least one
    std::vector<std::string> remedies;  ///< commands to type
};

struct Check {
    const char* name;
    /// Nothing when the facts leave it without an object.
    std::optional<Finding> (*look)(const Facts& facts);
};

struct Diagnosis {
    const Check* check = nullptr;
    Finding finding;
};

std::vector<Diagnosis> diagnose(const Facts& facts);
Verdict worst_of(const std::vector<Diagnosis>& diagnoses);

}  // namespace nuvctl
