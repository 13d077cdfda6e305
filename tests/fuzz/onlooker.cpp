#include "fuzz/fuzz_world.h"
#include "fuzz/region_parts.h"
#include "tools/nuvctl/camera_changes.h"
#include "tools/nuvctl/verb.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <iostream>
#include <iterator>
#include <sstream>

namespace nuv_fuzz {
namespace {

void require_fit_for_terminal(const std::string& text) {
    const bool has_control = std::any_of(text.begin(), text.end(), [](unsigned char byte) {
        return (byte < 0x20 && byte != '\n') || byte == 0x7F;
    });
    require(!has_control, "no control character is printed");
}

/// Both streams are those of the verb while it runs.
std::function<void()> verb(nuvctl::Action (*declare)(CLI::App&), const char* arguments) {
    CLI::App app;
    const nuvctl::Action action = declare(app);
    app.parse(arguments, false);
    return [action] {
        std::stringbuf text;
        std::streambuf* const out = std::cout.rdbuf(&text);
        std::streambuf* const error = std::cerr.rdbuf(&text);
        action();
        std::cout.rdbuf(out);
        std::cerr.rdbuf(error);
        require_fit_for_terminal(text.str());
    };
}

void compare(const NUV_Devlist_Shm& first_sight) {
    const nuvctl::Registry_view view = nuvctl::look_at_registry();
    const auto cameras =
        view.bytes ? nuvctl::cameras_in(*view.bytes) : std::vector<nuvctl::Camera>();
    for (const nuvctl::Change& change :
         nuvctl::changes_between(nuvctl::cameras_in(first_sight), cameras)) {
        require_fit_for_terminal(nuvctl::change_text(change));
    }
}

}  // namespace

void look(FuzzedDataProvider& input, const NUV_Devlist_Shm& first_sight) {
    static const std::function<void()> verbs[] = {
        [] {},  // what an input that has ended chooses
        verb(nuvctl::declare_list, ""), verb(nuvctl::declare_list, "--json"),
        verb(nuvctl::declare_status, ""), verb(nuvctl::declare_status, "--json")};
    constexpr std::size_t choices = 16;
    const auto choice = input.ConsumeIntegralInRange<std::size_t>(0, choices - 1);
    if (choice < std::size(verbs)) {
        verbs[choice]();
    } else if (choice == std::size(verbs)) {
        compare(first_sight);
    }
}

}  // namespace nuv_fuzz
