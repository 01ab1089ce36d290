// The process-wide settings are plain exported variables that a host may
// change from any thread while a call runs. Inside the library every read
// and write of them goes through an atomic view, so such a change is never
// a data race; relaxed order is enough, as no other memory is published
// through a setting.
#pragma once

#include <atomic>
#include <type_traits>

namespace ox::detail {

// The exported variables keep their plain types and natural alignment; an
// atomic view of them must need no more, and must not fall back on a lock
// (or on a helper library the library does not link).
template <class T> constexpr bool kViewable =
    std::atomic_ref<T>::required_alignment == alignof(T) && std::atomic_ref<T>::is_always_lock_free;

template <class T> T loadSetting(T& setting) noexcept {
    static_assert(kViewable<T>);
    return std::atomic_ref<T>(setting).load(std::memory_order_relaxed);
}

template <class T> void storeSetting(T& setting, std::type_identity_t<T> value) noexcept {
    static_assert(kViewable<T>);
    std::atomic_ref<T>(setting).store(value, std::memory_order_relaxed);
}

}  // namespace ox::detail
