// The rounds of cheap operations.
#pragma once

#include "row.h"

#include <chrono>
#include <cstddef>
#include <utility>
#include <vector>

namespace nuv_bench {

inline double seconds_since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// A round that repeats an operation `count` times. The operation is compiled into the loop.
template <class Operation>
Round repeated(int count, Operation operation) {
    return [count, operation = std::move(operation)]() mutable {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < count; ++i) {
            operation();
        }
        return seconds_since(start) / count;
    };
}

/// The rounds take turns. Where in memory a table lies can make a fifth of a look-up's time, so
/// several are looked up in, each at its own place.
inline Round in_turn(std::vector<Round> rounds) {
    return [rounds = std::move(rounds), next = std::size_t{0}]() mutable {
        return rounds[next++ % rounds.size()]();
    };
}

constexpr int places = 9;

}  // namespace nuv_bench
