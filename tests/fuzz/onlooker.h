// The operator's tool looking at the region: what it prints must be fit for a terminal.
#pragma once

#include "tools/nuvctl/camera.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <functional>
#include <vector>

namespace nuv_fuzz {

class Onlooker {
public:
    explicit Onlooker(const NUV_Devlist_Shm& first_seen);

    /// Sometimes runs one of the verbs that only look, or says what has changed since the first
    /// sight: printing a table takes longer than all that the managers do.
    void look(FuzzedDataProvider& input);

private:
    void compare() const;

    std::vector<std::function<void()>> verbs;
    const std::vector<nuvctl::Camera> known;
};

}  // namespace nuv_fuzz
