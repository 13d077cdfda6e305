#include "counting_log.h"

#include "step_calls.h"

#include <utility>

namespace robustness {
namespace {

[[maybe_unused]] const bool counts_all = (watch_lines(nullptr), true);

}  // namespace

void watch_lines(std::function<void(const std::string&)> seen) {
    nuv_test::on_log_line([seen = std::move(seen)](const nuv_test::Log_line& line) {
        step();
        if (seen) {
            seen(line.text);
        }
    });
}

}  // namespace robustness
