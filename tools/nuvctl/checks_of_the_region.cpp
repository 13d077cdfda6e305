// Whether there is a registry that can be used, and by whom.
#include "checks.h"
#include "ownership_text.h"
#include "process_text.h"
#include "suspects.h"

#include <nuv/bits.h>

#include <sys/stat.h>

#include <cstdio>

namespace nuvctl {
namespace {

std::string who_may_attach(const struct stat& file) {
    const bool group_may = (file.st_mode & 0060) == 0060;
    const bool others_may = (file.st_mode & 0006) == 0006;
    if (others_may) {
        return "everybody";
    }
    return (file.st_uid == 0 ? "root" : "root, user " + user_name(file.st_uid)) +
           (group_may ? " and group " + group_name(file.st_gid) : "");
}

std::string open_to_group_video(const Facts& facts) {
    return as_root(facts, std::string("chgrp video ") + registry_path) + " && " +
           as_root(facts, std::string("chmod 0664 ") + registry_path);
}

/// Takes a new login to come into effect.
std::string join_group(const Facts& facts, gid_t group_id) {
    return as_root(facts, "usermod -aG " + group_name(group_id) + " $USER");
}

bool wants_group_video(const Config_file& config) {
    return (config.setting(nuvkit::Key::general_bits).number() & DEFAULT_GROUP_VIDEO) != 0;
}

Finding unreadable_registry(const Facts& facts) {
    const Registry_view& view = facts.view();
    Finding finding{Verdict::problem, {view.problem}, {}};
    if (!is_no_file(view)) {
        finding.facts.emplace_back("no fault of the registry, which may be in use: it stays");
        finding.remedies.emplace_back("ulimit -n; cat /proc/sys/fs/file-nr; free -m");
    } else if (S_ISDIR(view.file->st_mode)) {
        finding.remedies.push_back(as_root(facts, std::string("rm -r ") + registry_path));
    } else {
        finding.remedies.emplace_back("nuvctl repair");
    }
    return finding;
}

}  // namespace

std::optional<Finding> check_registry(const Facts& facts) {
    const Registry_view& view = facts.view();
    switch (view.state) {
        case Registry_state::absent:
            return Finding{Verdict::warning, {view.problem}, {"nuvctl run"}};
        case Registry_state::unreadable:
            return unreadable_registry(facts);
        case Registry_state::no_permission:
            return std::nullopt;  // check_access tells
        default:
            break;
    }
    return Finding{Verdict::ok,
                   {std::string(NUV_SHM_NAME) + ", inode " + std::to_string(view.file->st_ino)},
                   {}};
}

std::optional<Finding> check_format(const Facts& facts) {
    const Registry_view& view = facts.view();
    if (view.bytes) {
        char text[64];
        std::snprintf(text, sizeof text, "%lld bytes, version 0x%04x",
                      static_cast<long long>(view.file->st_size), view.bytes->struct_version);
        return Finding{Verdict::ok, {text}, {}};
    }
    if (view.state != Registry_state::too_short && view.state != Registry_state::wrong_version) {
        return std::nullopt;
    }
    Finding finding{Verdict::problem, {view.problem}, {"nuvctl repair"}};
    if (const std::vector<Region_user> users = attached_users(facts); !users.empty()) {
        finding.facts.push_back("it is in use by " + names_of(users));
        finding.remedies = ending(facts, users);
        finding.remedies.emplace_back("nuvctl repair");
    } else {
        finding.facts.emplace_back("no process has it mapped");
    }
    return finding;
}

std::optional<Finding> check_name(const Facts& facts) {
    const std::vector<Region_user> users = cut_off_users(facts);
    if (users.empty()) {
        return Finding{Verdict::ok, {"nobody is on a registry without a name"}, {}};
    }
    return Finding{Verdict::problem,
                   {"attached to a registry whose name was removed: " + names_of(users),
                    "newcomers do not see it, and they do not see what newcomers do; restart them"},
                   ending(facts, users)};
}

std::optional<Finding> check_namespaces(const Facts& facts) {
    Finding finding;
    for (const std::vector<Region_user>& users : other_registries(facts)) {
        finding.facts.push_back("on another registry, in a /dev/shm of its own: " +
                                names_of(users));
        finding.remedies.push_back(as_root(
            facts, "nsenter -t " + std::to_string(users[0].process.id) + " -m -i nuvctl status"));
    }
    if (const std::vector<Region_user> users = users_with_other_ids(facts); !users.empty()) {
        finding.facts.push_back(
            "on this registry, but with process ids of their own, so that their cameras may be "
            "freed under them: " +
            names_of(users));
        finding.remedies.push_back(as_root(facts, "lsns -t pid"));
    }
    if (has_invisible_users(facts)) {
        finding.facts.emplace_back("somebody is attached whom this user or container cannot see");
        finding.remedies.push_back(as_root(facts, "nuvctl doctor"));
    }
    if (finding.facts.empty()) {
        return Finding{Verdict::ok, {"nobody was seen on another registry"}, {}};
    }
    finding.verdict = Verdict::warning;
    return finding;
}

std::optional<Finding> check_access(const Facts& facts) {
    const Registry_view& view = facts.view();
    if (!view.file) {
        return view.state == Registry_state::no_permission
                   ? std::optional(Finding{Verdict::problem, {view.problem}, {"ls -ld /dev/shm"}})
                   : std::nullopt;
    }
    if (is_no_file(view)) {
        return std::nullopt;
    }
    Finding finding{
        Verdict::ok,
        {ownership_text(*view.file) + ": " + who_may_attach(*view.file) + " may attach"},
        {}};
    const bool group_is_kept_out = (view.file->st_mode & 0060) != 0060;
    const bool others_are_kept_out = (view.file->st_mode & 0006) != 0006;
    if (!facts.may_attach) {
        finding.verdict = Verdict::problem;
        finding.facts.emplace_back("this user may not");
        const bool is_for_a_group = !group_is_kept_out && view.file->st_gid != 0;
        finding.remedies.push_back(is_for_a_group ? join_group(facts, view.file->st_gid)
                                                  : open_to_group_video(facts));
    } else if (group_is_kept_out && others_are_kept_out) {
        if (wants_group_video(facts.config)) {
            finding.verdict = Verdict::warning;
            finding.facts.emplace_back(
                "the configuration is for group video, which this registry keeps out");
            finding.remedies.push_back(open_to_group_video(facts));
        } else {
            finding.facts.emplace_back(
                "General_Bits = 0x10000 in the configuration opens later ones to group video");
        }
    }
    return finding;
}

}  // namespace nuvctl
