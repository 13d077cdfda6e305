// Keeps tests away from the machine: a /dev/shm and a configuration of their own.
#pragma once

#include <string>

namespace nuv_test {

/// Moves the process into a mount namespace with an empty /dev/shm of its own, and points the INI
/// search to an empty folder. Where the system grants no such namespace to this user, the program
/// is started again in a user namespace; where it grants none at all, the process ends with 1 and a
/// message, so that no test ever meets a live registry. A child of a process that is in its world
/// stays there.
void enter_private_world(char** argv);

/// From inside that world: yet another empty /dev/shm, of this process alone.
void enter_another_shm();

/// Removes the folder of INI files, if this process made it.
void leave_private_world();

/// Empties /dev/shm and the folder of INI files.
void clear_private_world();

/// Whether /dev/shm is that of a private world.
bool shm_is_private();

/// The only folder in which INI files are looked for.
std::string config_folder();
/// Writes `NAME.ini` into that folder, whole or not at all. \return its path
std::string write_ini(const std::string& name, const std::string& text);

}  // namespace nuv_test
