// The Filter sequence shared by the statistics-driven tone stages: gather
// statistics from the source, turn them into the stage's derived record,
// apply it, and optionally blend the result with the unprocessed source
// through a per-pixel weight image. Each stage supplies its pieces as a
// traits struct:
//
//   using Params, Stats, Derived;
//   static int32_t retrieve(Stats&, const oxImage* source, AbortFlag);
//   static void compute(const Stats&, const Params*, Derived&);
//   static int32_t apply(const Derived&, const oxImage* source, oxImage* destination, AbortFlag);
//
// Records live in RAII handles, so every early return frees them.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

#include "core/detail/handles.hpp"
#include "core/detail/status.hpp"
#include "ox_elementwise.h"
#include "ox_image.h"

namespace ox::detail {

template <class T> using HeapRecord = std::unique_ptr<T, FreeDeleter>;


template <class Stage>
int32_t runStageFilter(const typename Stage::Params* params, const oxImage* source, const oxImage* weights,
                       oxImage* destination, AbortFlag abortFlag) {
    HeapRecord<typename Stage::Stats> stats(allocateRecord<typename Stage::Stats>());
    if (!stats) return code(Status::Refused);
    if (const int32_t r = Stage::retrieve(*stats, source, abortFlag); r != 0) return r;

    HeapRecord<typename Stage::Derived> derived(allocateRecord<typename Stage::Derived>());
    if (!derived) return code(Status::Refused);
    Stage::compute(*stats, params, *derived);
    stats.reset();

    // "In place" means the same record: two headers over one buffer take the
    // other path and blend the processed image with itself.
    const bool inPlace = weights != nullptr && destination == source;
    ImagePtr unprocessed;
    if (inPlace) {
        unprocessed.reset(oxImageCreate(source->width, source->height, source->encoding));
        if (!unprocessed || oxCopy(source, unprocessed.get()) != 0) return code(Status::Refused);
    }

    const int32_t applied = Stage::apply(*derived, source, destination, abortFlag);
    derived.reset();
    if (applied != 0) return applied;
    if (weights == nullptr) return code(Status::Ok);
    // First argument the unprocessed image, second the processed one, so a
    // weight of 255 keeps the processed pixel.
    return oxAddWeigthedM(inPlace ? unprocessed.get() : source, destination, destination, weights);
}

}  // namespace ox::detail
