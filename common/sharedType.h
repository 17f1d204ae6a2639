// Marks types that cross the border between libraries: a template instantiated with a hidden type
// is hidden itself.
#pragma once

#define STRATUM_SHARED_TYPE __attribute__((visibility("default")))
