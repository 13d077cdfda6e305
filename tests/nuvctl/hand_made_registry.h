// A registry whose bytes a test has written, without the library.
#pragma once

#include "support/child_process.h"
#include "support/region_file.h"

#include <nuv/registry_layout.h>

#include <nuvkit/holder.h>

#include <memory>
#include <string>
#include <vector>

namespace nuv_test {

/// The bytes of a live registry.
NUV_Devlist_Shm registry_with(const std::vector<NUV_Device>& cameras,
                              unsigned int value_of_sem_update = 1);
NUV_Device camera(unsigned int id, unsigned short iftype, unsigned int serialnumber,
                  const std::string& name, const std::string& interface_name = "");
/// A process that once had this one's id.
nuvkit::Holder dead_holder();

/// Puts the bytes, or any others, under the registry's name.
void publish(const NUV_Devlist_Shm& registry);
void publish(const std::string& bytes);

/// What lies under the name, beside the processes that use it.
using Region = std::unique_ptr<NUV_Devlist_Shm, Unmap>;
Region published_region();

/// Has the published region mapped as two managers would, and the lock on one byte; its first
/// thread may have ended.
Process attached_process(long locked_byte, bool first_thread_ends = false);
/// Has it mapped as well, and no descriptor of it.
Process process_with_a_mapping_alone();

}  // namespace nuv_test
