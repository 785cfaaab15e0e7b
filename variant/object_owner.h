// Tells the module that owns an object about references to it. Calls modules: no lock may be held.
#pragma once

#include "variant/variant.h"

namespace qmsd {

// A module that cannot be opened or refuses leaves its error behind, but stops nobody.
void take_object(const ObjectOwner& owner);
void give_object_back(const ObjectOwner& owner);

}  // namespace qmsd
