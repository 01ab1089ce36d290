// Owning handles for the temporaries a filter makes, so that every early
// return frees them. Records are released through the library's own
// release functions; raw buffers with free().
#pragma once

#include <cstdlib>
#include <memory>

#include "ox_image.h"

namespace ox::detail {

// Deleter that calls a release function of the form void Release(T**).
template <auto Release> struct Releaser {
    template <class T> void operator()(T* p) const noexcept { Release(&p); }
};

template <class T, auto Release> using Owned = std::unique_ptr<T, Releaser<Release>>;

using ImagePtr = Owned<oxImage, oxImageRelease>;        // owns record and pixels
using HeaderPtr = Owned<oxImage, oxImageReleaseHeader>;  // owns the record only

struct FreeDeleter {
    void operator()(void* p) const noexcept { std::free(p); }
};

// malloc'ed scratch memory; null when the allocation failed.
using Buffer = std::unique_ptr<uint8_t[], FreeDeleter>;

inline Buffer allocateBuffer(size_t bytes) noexcept { return Buffer(static_cast<uint8_t*>(std::malloc(bytes))); }
inline Buffer allocateZeroed(size_t bytes) noexcept { return Buffer(static_cast<uint8_t*>(std::calloc(bytes, 1))); }

// Zero-filled record on the C heap, so that the C release functions can
// free it with free().
template <class T> T* allocateRecord() noexcept { return static_cast<T*>(std::calloc(1, sizeof(T))); }

}  // namespace ox::detail
