// What the demo shows is checked; what is not as it should be ends it.
#pragma once

#include <stdexcept>
#include <string>

namespace demo {

struct Not_as_expected : std::runtime_error {
    using std::runtime_error::runtime_error;
};

inline void expect(bool holds, const std::string& otherwise) {
    if (!holds) {
        throw Not_as_expected(otherwise);
    }
}

}  // namespace demo
