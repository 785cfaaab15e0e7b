// Extends the group table and the error texts from the property store, once per process.
// Nothing is reported: without a store the tables stay as they are, and so does the thread's error.
#pragma once

namespace qmsd {

void error_texts_load();
void groups_load();

}  // namespace qmsd
