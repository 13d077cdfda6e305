// Each operation of the library beside its yardstick, in one table: `./dev bench`.
#include "fail.h"
#include "measuring.h"
#include "table.h"

#include <sched.h>

namespace {

using namespace nuv_bench;

/// The rows are about one core, but for those of several processes, which see to it themselves.
void stay_on_this_core() {
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<std::size_t>(sched_getcpu()), &one);
    sched_setaffinity(0, sizeof one, &one);
}

Rows all_rows() {
    Rows rows;
    for (const auto make : {lookup_rows, peer_rows, cold_rows, region_rows, attach_rows, log_rows,
                            manager_rows, nuvctl_rows, process_rows}) {
        for (Row& row : make()) {
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

}  // namespace

int main(int argc, char** argv) {
    stay_on_this_core();
    const Rows rows = all_rows();
    const std::vector<Measured> results = measure(rows, argc, argv);
    require(!results.empty(), "nothing was measured");
    print_table(results);
}
