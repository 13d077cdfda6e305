// The text of completion.bash, which is installed as it is as well.
#pragma once

namespace nuvctl {

extern const char completion_script[];

}  // namespace nuvctl
