// Stopping oxfx with Ctrl-C or a termination request leaves no partial
// output behind.
#pragma once

namespace oxfx {

// Blocks SIGINT and SIGTERM in the calling thread, and so in every thread
// started after it, and starts a thread that waits for them. On either
// signal the temporary files of unfinished outputs are removed and the
// process exits with 128 + the signal number (130, 143). Call it before
// any worker thread starts. When no thread can be started the signals keep
// their default action.
void removePartialOutputsOnSignal();

}  // namespace oxfx
