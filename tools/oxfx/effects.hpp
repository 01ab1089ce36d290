// The three effects as oxfx runs them: their options with defaults, and
// the call into the library's entry point.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "image_io.hpp"
#include "options.hpp"

namespace oxfx {

struct Effect {
    const char* name;
    const char* summary;
    std::vector<Option> options;
    // Runs the entry point from `in` into `out` (same size, packed
    // blue-green-red); returns its status, 0 on success.
    int32_t (*run)(const oxio::Picture& in, uint8_t* out, const Values& values);
};

const std::vector<Effect>& effects();

// Null when there is no effect of that name.
const Effect* findEffect(std::string_view name);

Values defaultValues(const Effect& effect);

// Runs the effect on `in` into `out`, which it sizes. Returns the entry
// point's status, 0 on success.
int32_t applyEffect(const Effect& effect, const Values& values, const oxio::Picture& in, oxio::Picture& out);

}  // namespace oxfx
