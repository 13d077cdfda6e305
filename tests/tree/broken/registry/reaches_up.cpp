// For the test of include_rules.sh: the registry may not see the manager.
#include "manager/private.h"
