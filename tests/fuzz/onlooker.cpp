#include "fuzz/onlooker.h"

#include "fuzz/fuzz_world.h"
#include "tools/nuvctl/camera_changes.h"
#include "tools/nuvctl/verb.h"

#include <locale.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <sstream>

namespace nuv_fuzz {
namespace {

bool is_control(char byte) {
    return (static_cast<unsigned char>(byte) < 0x20 && byte != '\n') || byte == 0x7F;
}

void require_fit_for_terminal(const std::string& text) {
    require(std::none_of(text.begin(), text.end(), is_control), "no control character is printed");
}

/// What a verb writes, to either stream, instead of the two.
class Captured_output {
public:
    Captured_output() : out(std::cout.rdbuf(&text)), error(std::cerr.rdbuf(&text)) {}
    Captured_output(const Captured_output&) = delete;
    Captured_output& operator=(const Captured_output&) = delete;
    ~Captured_output() {
        std::cout.rdbuf(out);
        std::cerr.rdbuf(error);
        require_fit_for_terminal(text.str());
    }

private:
    std::stringbuf text;
    std::streambuf* const out;
    std::streambuf* const error;
};

std::function<void()> verb(nuvctl::Action (*declare)(CLI::App&), const char* arguments) {
    CLI::App app;
    const nuvctl::Action action = declare(app);
    app.parse(arguments, false);
    return [action] {
        const Captured_output captured;
        action();
    };
}

}  // namespace

Onlooker::Onlooker(const NUV_Devlist_Shm& first_seen) : known(nuvctl::cameras_in(first_seen)) {
    setlocale(LC_CTYPE, "C.UTF-8");
    verbs.push_back([] {});  // what an input that has ended chooses
    for (const auto declare : {nuvctl::declare_list, nuvctl::declare_status}) {
        verbs.push_back(verb(declare, ""));
        verbs.push_back(verb(declare, "--json"));
    }
}

void Onlooker::look(FuzzedDataProvider& input) {
    constexpr std::size_t choices = 16;
    const auto choice = input.ConsumeIntegralInRange<std::size_t>(0, choices - 1);
    if (choice < verbs.size()) {
        verbs[choice]();
    } else if (choice == verbs.size()) {
        compare();
    }
}

void Onlooker::compare() const {
    const nuvctl::Registry_view view = nuvctl::look_at_registry();
    const std::vector<nuvctl::Camera> cameras =
        view.bytes ? nuvctl::cameras_in(*view.bytes) : std::vector<nuvctl::Camera>();
    for (const nuvctl::Change& change : nuvctl::changes_between(known, cameras)) {
        require_fit_for_terminal(nuvctl::change_text(change));
    }
}

}  // namespace nuv_fuzz
