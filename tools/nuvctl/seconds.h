// Times on the command line.
#pragma once

#include <CLI/CLI.hpp>

namespace nuvctl {

/// Refuses what is no number between the two. CLI11's own range lets "nan" through.
CLI::Validator seconds_between(double least, double most);

}  // namespace nuvctl
