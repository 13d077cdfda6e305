#include "diagnosis_report.h"
#include "mends.h"
#include "reading_options.h"
#include "stop_signals.h"
#include "verb.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>
#include <string>

namespace nuvctl {
namespace {

struct Request {
    bool dry_run = false;
    bool yes = false;
    bool force = false;
    Reading_options output;
};

bool is_refused(const Mend& mend, const Request& request) {
    return !mend.harm.empty() && !request.force;
}

void print_plan(const std::vector<Mend>& mends, const Request& request) {
    for (const Mend& mend : mends) {
        std::cout << (is_refused(mend, request) ? "refused: " : "to do: ") << mend.what << '\n';
        if (!mend.harm.empty()) {
            std::cout << "  harm: " << mend.harm << '\n';
        }
    }
    std::cout << std::flush;
}

/// Standard input is asked, so that an answer can be typed; a pipe has no opinion.
Exit ask(const Request& request) {
    if (request.yes) {
        return Exit::done;
    }
    if (isatty(STDIN_FILENO) != 1) {
        std::cerr << "nuvctl: nobody to ask: --yes does it, --dry-run only tells\n";
        return Exit::usage;
    }
    std::cerr << "Do it? [y/N] ";
    std::string answer;
    std::getline(std::cin, answer);
    if (answer == "y" || answer == "Y" || answer == "yes") {
        return Exit::done;
    }
    std::cerr << "nuvctl: nothing done\n";
    return Exit::failure;
}

/// Stops at the first that fails: the next ones may count on it. An interruption waits until the
/// one that it meets is done: nobody else would give back what that one holds.
bool mend_all(const std::vector<Mend>& mends, const Request& request) {
    Stop_signals interruption;
    for (const Mend& mend : mends) {
        if (is_refused(mend, request)) {
            continue;
        }
        if (interruption.came_within(std::chrono::milliseconds(0))) {
            std::cerr << "nuvctl: interrupted; not done: " << mend.what << '\n';
            return false;
        }
        const std::string problem = mend.act();
        if (!problem.empty()) {
            std::cerr << "nuvctl: failed to " << mend.what << ": " << problem << '\n';
            return false;
        }
        std::cout << "done: " << mend.what << std::endl;
    }
    return true;
}

/// What is still wrong; says so.
Verdict look_again(const Request& request) {
    std::vector<Diagnosis> diagnoses = diagnose(collect_facts());
    const Verdict worst = worst_of(diagnoses);
    diagnoses.erase(
        std::remove_if(diagnoses.begin(), diagnoses.end(),
                       [](const Diagnosis& one) { return one.finding.verdict == Verdict::ok; }),
        diagnoses.end());
    print_diagnoses(diagnoses, wants_color(request.output));
    return worst;
}

Exit refuse_for_permission() {
    std::cerr << "nuvctl: no permission to write to the registry: sudo nuvctl repair\n";
    return Exit::permission;
}

Exit repair(const Request& request) {
    const Facts facts = collect_facts();
    const std::vector<Mend> mends = plan_mends(facts);
    if (mends.empty()) {
        if (!facts.may_attach && facts.view().state != Registry_state::absent) {
            return refuse_for_permission();
        }
        std::cout << "nothing that repair can mend" << std::endl;
        return look_again(request) == Verdict::problem ? Exit::failure : Exit::done;
    }
    print_plan(mends, request);
    const auto refused = std::count_if(mends.begin(), mends.end(),
                                       [&](const Mend& mend) { return is_refused(mend, request); });
    if (refused > 0) {
        std::cerr << "nuvctl: refused what could harm living processes; --force does it\n";
    }
    const bool all_refused = static_cast<std::size_t>(refused) == mends.size();
    if (request.dry_run || all_refused) {
        return refused > 0 ? Exit::busy : Exit::done;
    }
    if (!facts.may_attach) {
        return refuse_for_permission();
    }
    if (const Exit answer = ask(request); answer != Exit::done) {
        return answer;
    }
    const bool done = mend_all(mends, request);
    const Verdict worst = look_again(request);
    if (done && refused > 0) {
        return Exit::busy;
    }
    return done && worst != Verdict::problem ? Exit::done : Exit::failure;
}

}  // namespace

Action declare_repair(CLI::App& arguments) {
    auto request = std::make_shared<Request>();
    arguments.add_flag("--dry-run", request->dry_run, "Only tell what would be done");
    arguments.add_flag("--yes,-y", request->yes, "Do it without asking");
    arguments.add_flag("--force", request->force, "Also do what could harm living processes");
    add_color_option(arguments, request->output);
    arguments.footer(
        "Mends what `nuvctl doctor` finds, tells first what it will do, asks on a terminal and\n"
        "wants --yes elsewhere. Run it as root, who sees the processes of all users.\n"
        "Exit codes: 0 when no problem is left, 1 when one is, 2 when there is nobody to ask, 4 "
        "when\n"
        "something was refused because it could harm a living process, 5 without permission.\n"
        "Examples:\n"
        "  sudo nuvctl repair --dry-run\n"
        "  sudo nuvctl repair --yes");
    return [request] { return repair(*request); };
}

}  // namespace nuvctl
