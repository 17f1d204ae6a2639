// Marks what the host library offers to those that link to it.
#pragma once

#define OSTRUM_API __attribute__((visibility("default")))
