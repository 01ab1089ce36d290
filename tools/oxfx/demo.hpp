// `oxfx demo`: the three effects on a sample photograph, or on a generated
// scene when no photograph is at hand.
#pragma once

#include <cstdint>
#include <string>

#include "image_io.hpp"
#include "options.hpp"

namespace oxfx {

// A colourful landscape with sky, sun, hills, a road and bright blocks:
// smooth areas, hard edges and saturated colours for every effect to show.
oxio::Picture syntheticScene(int32_t width, int32_t height);

const Syntax& demoSyntax();

// Runs the demo for an already parsed command line; `program` is the path
// of the running executable, near which the sample photographs are looked
// for. Returns the exit status.
int runDemo(const CommandLine& line, const std::string& program);

}  // namespace oxfx
