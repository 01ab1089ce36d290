// Peak memory of one call, measured in a child process.
#pragma once

#include <functional>

namespace oxcmp {

// Runs `work` in a forked child and returns how far the child's peak
// resident size rose above its resident size just before the call, in
// bytes; -1 when it cannot be measured (no /proc, or the child failed).
// Whatever `work` needs must be allocated and touched before the call.
long long peakMemoryOf(const std::function<void()>& work);

}  // namespace oxcmp
