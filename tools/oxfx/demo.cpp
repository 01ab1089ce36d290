#include "demo.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "effects.hpp"

namespace fs = std::filesystem;

namespace oxfx {
namespace {

// Preferred first: the cup has smooth glaze, hard rims and strong colour.
const char* const kSamples[] = {"coffee.png", "chelsea.png", "astronaut.png", "rocket.jpg"};

struct Rgb {
    float r, g, b;
};

Rgb mix(Rgb a, Rgb b, float t) { return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t}; }

uint8_t toByte(float v) { return static_cast<uint8_t>(std::clamp(v, 0.0f, 255.0f)); }

// Integer hash noise in -1..1, the same on every machine.
float grain(uint32_t x, uint32_t y) {
    uint32_t h = x * 374761393u + y * 668265263u;
    h = (h ^ (h >> 13)) * 1274126177u;
    return static_cast<float>((h ^ (h >> 16)) & 0xFFFF) / 32767.5f - 1.0f;
}

Rgb sceneAt(float u, float v) {
    constexpr float kTau = 6.2831853f;
    const float farRidge = 0.50f + 0.05f * std::sin(u * kTau * 1.5f + 0.7f);
    const float nearRidge = 0.62f + 0.06f * std::sin(u * kTau * 2.3f) + 0.015f * std::sin(u * kTau * 9.0f);
    if (v >= 0.80f && v < 0.88f) {  // road with a dashed centre line
        const bool dash = std::abs(v - 0.84f) < 0.006f && std::fmod(u * 12.0f, 1.0f) < 0.5f;
        return dash ? Rgb{240, 240, 230} : Rgb{70, 70, 78};
    }
    if (v >= 0.72f && v < 0.80f) {  // a row of bright blocks standing on the road
        const Rgb colours[] = {{220, 40, 40}, {250, 200, 30}, {40, 90, 220}, {200, 50, 200}, {30, 190, 190}};
        const float slot = u * 10.0f;
        const int index = static_cast<int>(slot);
        if (slot - static_cast<float>(index) < 0.6f) return colours[index % 5];
    }
    if (v >= nearRidge) {  // fields in stripes
        const float stripe = 0.5f + 0.5f * std::sin((u * 3.0f + v * 14.0f) * kTau);
        return mix(mix(Rgb{90, 170, 60}, Rgb{40, 100, 40}, (v - nearRidge) * 2.5f), Rgb{150, 190, 70}, 0.3f * stripe);
    }
    if (v >= farRidge) return mix(Rgb{110, 110, 170}, Rgb{80, 90, 140}, (v - farRidge) * 6.0f);
    const float sun = std::hypot((u - 0.72f) * 1.5f, v - 0.25f);
    const Rgb sky = mix(Rgb{40, 90, 200}, Rgb{250, 170, 110}, std::clamp(v / 0.55f, 0.0f, 1.0f));
    if (sun < 0.09f) return Rgb{255, 235, 130};
    return mix(sky, Rgb{255, 220, 150}, std::max(0.0f, 1.0f - (sun - 0.09f) * 6.0f));
}

// Where a sample photograph may be: next to the build (scripts/fetch-photos.sh
// fills build/photos, and the tool sits in build/<type>/tools), then the
// folder known when the tool was built.
std::vector<fs::path> sampleFolders(const std::string& program) {
    std::vector<fs::path> folders;
    std::error_code ec;
    fs::path self = fs::read_symlink("/proc/self/exe", ec);
    if (ec) self = fs::absolute(program, ec);
    if (!ec) folders.push_back(self.parent_path().parent_path().parent_path() / "photos");
#ifdef OXFX_PHOTO_DIR
    folders.emplace_back(OXFX_PHOTO_DIR);
#endif
    return folders;
}

bool findSample(const std::string& program, oxio::Picture& picture, std::string& path) {
    std::string ignored;
    for (const fs::path& folder : sampleFolders(program)) {
        for (const char* name : kSamples) {
            const fs::path candidate = folder / name;
            std::error_code ec;
            if (fs::is_regular_file(candidate, ec) && oxio::readPicture(candidate.string(), picture, ignored)) {
                path = candidate.string();
                return true;
            }
        }
    }
    return false;
}

}  // namespace

oxio::Picture syntheticScene(int32_t width, int32_t height) {
    oxio::Picture picture;
    picture.width = width;
    picture.height = height;
    picture.bgr.resize(static_cast<size_t>(width) * height * 3);
    uint8_t* p = picture.bgr.data();
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x, p += 3) {
            const Rgb c = sceneAt((static_cast<float>(x) + 0.5f) / static_cast<float>(width),
                                  (static_cast<float>(y) + 0.5f) / static_cast<float>(height));
            const float n = 8.0f * grain(static_cast<uint32_t>(x), static_cast<uint32_t>(y));
            p[0] = toByte(c.b + n);
            p[1] = toByte(c.g + n);
            p[2] = toByte(c.r + n);
        }
    }
    return picture;
}

const Syntax& demoSyntax() {
    static const Syntax syntax{{}, {"photo"}, {"synthetic"}};
    return syntax;
}

int runDemo(const CommandLine& line, const std::string& program) {
    const fs::path folder = line.paths.empty() ? fs::path("demo-out") : fs::path(line.paths[0]);
    oxio::Picture picture;
    std::string sample;
    std::string stem = "scene";
    std::string error;
    const auto photo = line.texts.find("photo");
    if (hasSwitch(line, "synthetic")) {
        picture = syntheticScene(720, 480);
    } else if (photo != line.texts.end()) {
        if (!oxio::readPicture(photo->second, picture, error)) {
            std::fprintf(stderr, "oxfx: %s\n", error.c_str());
            return 1;
        }
        sample = photo->second;
    } else if (!findSample(program, picture, sample)) {
        picture = syntheticScene(720, 480);
    }
    if (sample.empty()) {
        std::printf("sample: a generated scene (scripts/fetch-photos.sh fetches real photographs)\n");
    } else {
        stem = fs::path(sample).stem().string();
        std::printf("sample: %s\n", sample.c_str());
    }
    std::error_code ec;
    fs::create_directories(folder, ec);
    if (ec) {
        std::fprintf(stderr, "oxfx: %s: cannot create the folder (%s)\n", folder.c_str(), ec.message().c_str());
        return 1;
    }
    int status = 0;
    for (const Effect& effect : effects()) {
        const std::string output = (folder / (stem + "-" + effect.name + ".png")).string();
        oxio::Picture result;
        std::string note;
        const bool ok = applyEffect(effect, defaultValues(effect), picture, result, error, note);
        if (!note.empty()) std::fprintf(stderr, "oxfx: note: %s\n", note.c_str());
        if (!ok) {
            std::fprintf(stderr, "oxfx: %s\n", error.c_str());
            status = 1;
        } else if (!oxio::writePicture(output, result, 90, error)) {
            std::fprintf(stderr, "oxfx: %s\n", error.c_str());
            status = 1;
        } else {
            std::printf("%s\n", output.c_str());
        }
        std::fflush(stdout);
    }
    return status;
}

}  // namespace oxfx
