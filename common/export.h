// Marks what the operator library exports.
#pragma once

#define STRATUM_API __attribute__((visibility("default")))
