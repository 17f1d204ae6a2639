// The three streams that every program starts with.
#pragma once

namespace Stratum::tools {

/// Puts something in place of standard streams that whoever started the program closed, or else the
/// next file to be opened would take the place and get what is meant for the stream. Reading or
/// writing there fails, as it does with a closed stream. To be called first of all.
void holdClosedStreams();

} // namespace Stratum::tools
