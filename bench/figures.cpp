#include "figures.h"

#include <cstdio>

namespace nuv_bench {
namespace {

struct Scale {
    double factor;
    const char* name;
};

constexpr Scale times[] = {{1e-9, "ns"}, {1e-6, "us"}, {1e-3, "ms"}, {1, "s"}};
constexpr Scale rates[] = {{1, "/s"}, {1e3, "k/s"}, {1e6, "M/s"}};

/// The largest unit of which the value is at least one.
template <std::size_t count>
std::string scaled(double value, const Scale (&scales)[count]) {
    const Scale* chosen = &scales[0];
    for (const Scale& scale : scales) {
        if (value >= scale.factor) {
            chosen = &scale;
        }
    }
    const double number = value / chosen->factor;
    char text[32];
    std::snprintf(text, sizeof text, "%.*f %s",
                  number < 10    ? 2
                  : number < 100 ? 1
                                 : 0,
                  number, chosen->name);
    return text;
}

}  // namespace

std::string figure(double value, Unit unit) {
    return unit == Unit::seconds ? scaled(value, times) : scaled(value, rates);
}

}  // namespace nuv_bench
