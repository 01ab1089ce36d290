// Status codes and the abort-flag poll as one small internal vocabulary;
// they become int32_t only at the exported boundary.
#pragma once

#include <cstdint>

namespace ox::detail {

enum class Status : int32_t { Ok = 0, Refused = 1, Aborted = 2, WriteFailed = -1 };

constexpr int32_t code(Status s) noexcept { return static_cast<int32_t>(s); }

// The host sets the flag from another thread, so it is read through a
// volatile pointer: a plain read could be hoisted out of the row loop.
using AbortFlag = const volatile int32_t*;

inline bool abortRequested(AbortFlag flag) noexcept { return flag != nullptr && *flag != 0; }

}  // namespace ox::detail
