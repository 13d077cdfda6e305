// Times on the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <chrono>

namespace nuvctl {

/// Refuses what is no number between the two. CLI11's own range lets "nan" through.
CLI::Validator seconds_between(double least, double most);

std::chrono::milliseconds milliseconds_of(double seconds);

}  // namespace nuvctl
