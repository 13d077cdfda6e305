// The operator's tool looking at the region: what it prints must be fit for a terminal.
#pragma once

#include <nuv/registry_layout.h>

#include <fuzzer/FuzzedDataProvider.h>

namespace nuv_fuzz {

/// Sometimes runs one of the verbs that only look, or says what has changed since the first sight:
/// printing a table takes longer than all that the managers do.
void look(FuzzedDataProvider& input, const NUV_Devlist_Shm& first_sight);

}  // namespace nuv_fuzz
