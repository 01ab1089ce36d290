// Owning handles for the temporaries a filter makes, so that every early
// return frees them. Records are released through the library's own
// release functions; raw buffers with free().
#pragma once

#include <cstdint>
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

// The release function of every plain record: frees it and nulls the
// caller's pointer; a null address or pointer is ignored.
template <class T> void releaseRecord(T** record) noexcept {
    if (record == nullptr) return;
    std::free(*record);
    *record = nullptr;
}

// The scratch-buffer pattern of the allocating filters: allocate `bytes`
// (nothing when 0), run opt(buffer), free it. 1 when the allocation fails or
// the size cannot be allocated at all.
template <class F> int32_t withScratch(uint64_t bytes, bool zeroed, F&& opt) {
    Buffer buffer;
    if (bytes > 0) {
        if (bytes > SIZE_MAX) return 1;
        buffer = zeroed ? allocateZeroed(static_cast<size_t>(bytes)) : allocateBuffer(static_cast<size_t>(bytes));
        if (!buffer) return 1;
    }
    return opt(buffer.get());
}

}  // namespace ox::detail
