// The library's date as the log shows it; cmake/build_date.cmake says which date that is.
#pragma once

namespace nuv {

/// Like "Jun  4 2025".
extern const char build_date[];

}  // namespace nuv
