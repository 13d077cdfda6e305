// The session that the demo plays.
#pragma once

namespace demo {

/// \throws Not_as_expected when the library does not do what the story says
void tell_story();

}  // namespace demo
