// The three effects as oxfx runs them: their options with defaults, the
// sizes they take, and the call into the library's entry point.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "image_io.hpp"
#include "options.hpp"

namespace oxfx {

struct Effect {
    const char* name;
    const char* summary;
    // For --help: the smallest pictures it takes and how it treats large ones.
    const char* sizes;
    std::vector<Option> options;
    // Why the entry point would refuse a picture of this size with these
    // values, said before any work is done; empty when it takes it.
    std::string (*refusal)(int32_t width, int32_t height, const Values& values);
    // Runs the entry point from `in` into `out` (same size, packed
    // blue-green-red); returns its status, 0 on success. `note` receives a
    // remark about how the picture was treated.
    int32_t (*run)(const oxio::Picture& in, uint8_t* out, const Values& values, std::string& note);
};

const std::vector<Effect>& effects();

// Null when there is no effect of that name.
const Effect* findEffect(std::string_view name);

Values defaultValues(const Effect& effect);

// Runs the effect on `in` into `out`, which it sizes. On failure returns
// false and a one-line reason (the size limit a picture is below, or the
// entry point's status). `note` receives remarks for the user.
bool applyEffect(const Effect& effect, const Values& values, const oxio::Picture& in, oxio::Picture& out,
                 std::string& error, std::string& note);

}  // namespace oxfx
