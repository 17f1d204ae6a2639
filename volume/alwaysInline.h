// For code that is compiled for several instruction sets in one program.
#pragma once

/// Such functions must leave no copies that the linker could choose from.
#define STRATUM_ALWAYS_INLINE [[gnu::always_inline]] inline
