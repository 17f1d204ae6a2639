// For code that is compiled for several instruction sets in one program.
#pragma once

/// Such functions must leave no copies that the linker could choose from.
#define STRATUM_ALWAYS_INLINE [[gnu::always_inline]] inline
/// The same after the parameters of a lambda.
#define STRATUM_INLINED __attribute__((always_inline))
