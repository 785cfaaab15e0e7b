// Matches file names against patterns.
#pragma once

#include "services/text/text.h"

namespace qmsd {

// "*" any text, "?" any character, "[abx-z]" one of a set, which is also how a name's own bracket
// is matched: "[[]". Case-sensitive: callers who do not care lower-case both. A set that is not
// well-formed fails the match once it is reached. The time is proportional to the product of the
// lengths at worst.
bool wildcard_match(WideView name, WideView pattern);

}  // namespace qmsd
