// oxfx end to end: the built tool runs as a child process on small
// pictures written here, and is judged by its exit status, its messages and
// the files it leaves behind.
#include <gtest/gtest.h>

#if defined(OXFX_PATH) && defined(OX_HAVE_IMAGEIO)

#include <png.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <thread>

#include "YewWpfWrap.h"
#include "image_io.hpp"
#include "support/test_support.hpp"

namespace fs = std::filesystem;
using oxtest::slurp;

namespace {

struct Result {
    int status = -1;
    std::string out;
    std::string err;
};

std::string quote(const std::string& arg) {
    std::string q = "'";
    for (char c : arg) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

size_t lineCount(const std::string& text) { return static_cast<size_t>(std::count(text.begin(), text.end(), '\n')); }

oxio::Picture uniform(int32_t width, int32_t height, uint8_t b, uint8_t g, uint8_t r) {
    oxio::Picture p{width, height, {}, false};
    for (int32_t i = 0; i < width * height; ++i) p.bgr.insert(p.bgr.end(), {b, g, r});
    return p;
}

// `count` pixels spread over the picture set to grey `value`.
oxio::Picture sprinkled(oxio::Picture p, int32_t count, uint8_t value) {
    const int32_t n = p.width * p.height;
    for (int32_t i = 0; i < count; ++i) std::fill_n(&p.bgr[static_cast<size_t>(i * 241 % n) * 3], 3, value);
    return p;
}

oxio::Picture noisy(int32_t width, int32_t height, uint32_t seed) {
    oxio::Picture p{width, height, std::vector<uint8_t>(static_cast<size_t>(width) * height * 3), false};
    std::mt19937 rng(seed);
    for (uint8_t& v : p.bgr) v = static_cast<uint8_t>(rng());
    return p;
}

// Every test works in <temp>/work; the child's output goes beside it.
class OxfxTest : public ::testing::Test {
protected:
    void SetUp() override { fs::create_directories(work()); }

    fs::path work() const { return tmp_.path() / "work"; }

    // The shell command that becomes the tool in the work folder, its
    // output going beside it; `shell` runs first, such as a ulimit.
    std::string commandLine(const std::vector<std::string>& args, const std::string& shell = "") const {
        std::string command = "cd " + quote(work().string()) + " && " + shell + "exec " + quote(OXFX_PATH);
        for (const std::string& arg : args) command += " " + quote(arg);
        return command + " <" + quote("/dev/null") + " >" + quote((tmp_.path() / "stdout").string()) + " 2>" +
               quote((tmp_.path() / "stderr").string());
    }

    Result oxfx(const std::vector<std::string>& args, const std::string& shell = "") const {
        const int raw = std::system(commandLine(args, shell).c_str());
        Result result;
        result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        result.out = slurp(tmp_.path() / "stdout");
        result.err = slurp(tmp_.path() / "stderr");
        return result;
    }

    // A noise picture with `channels` 1 (grey), 3 or 4 (with alpha); with 3,
    // PNG or JPEG by the extension.
    void writePicture(const std::string& name, int32_t width, int32_t height, int channels = 3) const {
        if (channels == 3) return writeBgr(name, noisy(width, height, 7));
        const std::vector<uint8_t> pixels = noisy(width * channels, height, 7).bgr;  // the same stream, longer
        png_image image{};
        image.version = PNG_IMAGE_VERSION;
        image.width = static_cast<png_uint_32>(width);
        image.height = static_cast<png_uint_32>(height);
        image.format = channels == 1 ? PNG_FORMAT_GRAY : PNG_FORMAT_RGBA;
        const std::string path = (work() / name).string();
        ASSERT_TRUE(png_image_write_to_file(&image, path.c_str(), 0, pixels.data(), 0, nullptr)) << image.message;
    }

    void writeBgr(const std::string& name, const oxio::Picture& picture) const {
        std::string error;
        ASSERT_TRUE(oxio::writePicture((work() / name).string(), picture, 90, error)) << error;
    }

    oxio::Picture readBack(const std::string& name) const {
        oxio::Picture picture;
        std::string error;
        EXPECT_TRUE(oxio::readPicture((work() / name).string(), picture, error)) << name << ": " << error;
        return picture;
    }

    void writeBytes(const std::string& name, const std::string& bytes) const {
        std::ofstream(work() / name, std::ios::binary) << bytes;
    }

    std::set<std::string> listing(const std::string& folder = ".") const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(work() / folder)) names.insert(entry.path().filename().string());
        return names;
    }

    // Every file under the work folder with its bytes (folders as "").
    std::map<std::string, std::string> tree() const {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(work()))
            files[fs::relative(entry.path(), work()).string()] = entry.is_regular_file() ? slurp(entry.path()) : "";
        return files;
    }

    void expectPicture(const std::string& name, int32_t width, int32_t height) const {
        const oxio::Picture picture = readBack(name);
        EXPECT_EQ(picture.width, width) << name;
        EXPECT_EQ(picture.height, height) << name;
    }

private:
    oxtest::TempDir tmp_;
};

TEST_F(OxfxTest, EveryEffectReadsAndWritesPngAndJpeg) {
    struct Case {
        const char* effect;
        const char* input;
        int channels;
        const char* output;
        bool alphaNote;
    };
    const Case cases[] = {
        {"simplify", "rgb.png", 3, "out.jpg", false},  {"simplify", "photo.jpg", 3, "out.png", false},
        {"tiltshift", "rgb.png", 3, "out.JPEG", false}, {"tiltshift", "photo.jpg", 3, "out.png", false},
        {"enhance", "rgb.png", 3, "out.jpg", false},   {"enhance", "photo.jpg", 3, "out.png", false},
        {"enhance", "grey.png", 1, "out.png", false},  {"simplify", "rgba.png", 4, "out.png", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.effect) + " " + c.input + " -> " + c.output);
        writePicture(c.input, 41, 29, c.channels);
        const Result r = oxfx({c.effect, c.input, c.output});
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.err.find("alpha") != std::string::npos, c.alphaNote) << r.err;
        expectPicture(c.output, 41, 29);
        EXPECT_EQ(listing(), (std::set<std::string>{c.input, c.output}));
        fs::remove(work() / c.input);
        fs::remove(work() / c.output);
    }
}

TEST_F(OxfxTest, BadInputFailsWithOneLineNamingTheCulpritAndLeavesNoOutput) {
    writePicture("good.png", 16, 12);
    writePicture("good.jpg", 64, 48);
    const std::string png = slurp(work() / "good.png");
    const std::string jpeg = slurp(work() / "good.jpg");
    writeBytes("truncated.png", png.substr(0, png.size() / 2));
    writeBytes("truncated.jpg", jpeg.substr(0, jpeg.size() / 2));
    writeBytes("corrupt.png", png.substr(0, 40) + std::string(200, '\x5a'));
    writeBytes("notes.png", "not a picture\n");
    fs::create_directories(work() / "in");
    writePicture("in/a.png", 17, 9);
    writePicture("in/c.png", 31, 8);
    const auto before = tree();
    struct Case {
        std::vector<std::string> args;
        int status;
        const char* named;
    };
    const Case cases[] = {
        {{"enhance", "missing.png", "out.png"}, 1, "missing.png"},
        {{"enhance", "truncated.png", "out.png"}, 1, "truncated.png"},
        {{"enhance", "truncated.jpg", "out.png"}, 1, "truncated.jpg"},
        {{"enhance", "corrupt.png", "out.png"}, 1, "corrupt.png"},
        {{"enhance", "notes.png", "out.png"}, 1, "notes.png"},
        {{"enhance", "good.png", "out.bmp"}, 2, "out.bmp: unsupported output extension"},
        {{"enhance", "good.png", "out"}, 2, "out: the output needs an extension"},
        {{"enhance", "good.png", "no/such/folder/out.png"}, 2, "the folder no/such/folder does not exist"},
        {{"enhance", "good.png", "nosuch/"}, 2, "the folder nosuch does not exist"},
        {{"enhance", "good.png", "good.jpg/out.png"}, 2, "good.jpg is not a folder"},
        {{"enhance", "good.png", "good.png"}, 2, "--overwrite"},
        {{"enhance", "good.png", "./good.png"}, 2, "--overwrite"},
        {{"enhance", "in/a.png", "in/a.png"}, 2, "--overwrite"},
        {{"enhance", "in/a.png", "in/../in/a.png"}, 2, "--overwrite"},
        {{"enhance", "in/a.png", "in/c.png", "in"}, 2, "--overwrite"},
        {{"enhance", "in", "in"}, 2, "--overwrite"},
        {{"simplify", "good.png", "out.png", "--iterations", "-1"}, 2, "--iterations"},
        {{"simplify", "good.png", "out.png", "--iterations=2.5"}, 2, "--iterations"},
        {{"simplify", "good.png", "out.png", "--range-factor", "nan"}, 2, "--range-factor"},
        {{"simplify", "good.png", "out.png", "--saturation", "lots"}, 2, "--saturation"},
        {{"tiltshift", "good.png", "out.png", "--lens", "inf"}, 2, "--lens"},
        {{"tiltshift", "good.png", "out.png", "--strength"}, 2, "--strength"},
        {{"enhance", "good.png", "out.jpg", "--quality", "101"}, 2, "--quality"},
        {{"enhance", "good.png", "out.png", "--sharpness", "1"}, 2, "--sharpness"},
        {{"enhance", "good.png"}, 2, "OUTPUT"},
        {{"enhance", "good.png", "good.jpg", "out.png"}, 2, "out.png"},
        {{"sharpen", "good.png", "out.png"}, 2, "sharpen"},
    };
    for (const Case& c : cases) {
        const Result r = oxfx(c.args);
        SCOPED_TRACE(r.err);
        EXPECT_EQ(r.status, c.status);
        EXPECT_EQ(lineCount(r.err), 1u);
        EXPECT_NE(r.err.find(c.named), std::string::npos);
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(tree(), before);
    }
}

TEST_F(OxfxTest, BatchOverAFolderProcessesEveryGoodFileDespiteACorruptOne) {
    fs::create_directories(work() / "in");
    // Different sizes tell whether each output came from its own input.
    writePicture("in/a.png", 17, 9);
    writePicture("in/b.jpg", 23, 11);
    writePicture("in/c.png", 31, 8);
    writeBytes("in/broken.png", "\x89PNG\r\n\x1a\n garbage");
    writeBytes("in/notes.txt", "skipped: not a picture");
    const Result r = oxfx({"enhance", "in", "out", "--jobs", "2"});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(listing("out"), (std::set<std::string>{"a.png", "b.jpg", "c.png"}));
    expectPicture("out/a.png", 17, 9);
    expectPicture("out/b.jpg", 23, 11);
    expectPicture("out/c.png", 31, 8);
    EXPECT_EQ(lineCount(r.err), 1u) << r.err;
    EXPECT_NE(r.err.find("broken.png"), std::string::npos) << r.err;
    EXPECT_NE(r.out.find("3 done, 1 failed"), std::string::npos) << r.out;

    // A duplicate output is refused, the other file goes on.
    const Result twice = oxfx({"simplify", "in/a.png", "in/a.png", "out2"});
    EXPECT_EQ(twice.status, 1);
    EXPECT_NE(twice.out.find("1 done, 1 failed"), std::string::npos) << twice.out;
}

TEST_F(OxfxTest, DemoWritesTheThreeEffectsOfTheGeneratedScene) {
    const Result r = oxfx({"demo", "show", "--synthetic"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(listing("show"), (std::set<std::string>{"scene-enhance.png", "scene-simplify.png", "scene-tiltshift.png"}));
    for (const std::string& name : listing("show")) {
        EXPECT_NE(r.out.find("show/" + name + "\n"), std::string::npos) << r.out;
        expectPicture("show/" + name, 720, 480);
    }
}

// Each command's help lists its options with range and default, and both
// ends of every range are accepted (a refused command line exits 2); JPEG's
// quality runs from 1 to 100. Without arguments the usage goes out with
// status 2.
TEST_F(OxfxTest, HelpListsEveryOptionAndItsLimitsAreAccepted) {
    const Result bare = oxfx({});
    EXPECT_EQ(bare.status, 2);
    for (const char* text : {"usage: oxfx COMMAND", "simplify", "tiltshift", "enhance", "demo"})
        EXPECT_NE((bare.out + bare.err).find(text), std::string::npos) << text;
    EXPECT_TRUE(listing().empty());
    fs::create_directories(work() / "in");
    writePicture("in/a.jpg", 48, 40);
    const std::regex option(R"(--([a-z-]+) [A-Z]+ +[^\n]*\(([-+.e0-9]+) to ([-+.e0-9]+); default)");
    const std::pair<const char*, std::string> commands[] = {
        {"simplify", "iterations range-factor saturation quality jobs max-pixels "},
        {"tiltshift", "strength lens ax ay bx by quality jobs max-pixels "},
        {"enhance", "steepness quality jobs max-pixels "}};
    for (const auto& [command, names] : commands) {
        const Result help = oxfx({command, "--help"});
        EXPECT_EQ(help.status, 0);
        std::string listed;
        std::vector<std::string> low{command, "in", "low"}, high{command, "in", "high"};
        for (std::sregex_iterator m(help.out.begin(), help.out.end(), option), end; m != end; ++m) {
            listed += (*m)[1].str() + " ";
            low.push_back("--" + (*m)[1].str() + "=" + (*m)[2].str());
            high.push_back("--" + (*m)[1].str() + "=" + (*m)[3].str());
        }
        EXPECT_EQ(listed, names) << help.out;
        EXPECT_NE(std::find(low.begin(), low.end(), "--quality=1"), low.end());
        EXPECT_NE(std::find(high.begin(), high.end(), "--quality=100"), high.end());
        for (const auto& args : {low, high}) {
            const Result r = oxfx(args);
            EXPECT_NE(r.status, 2) << command << ": " << r.err;
        }
    }
    const Result demo = oxfx({"demo", "--help"});
    EXPECT_EQ(demo.status, 0);
    EXPECT_TRUE(demo.out.find("--photo FILE") != std::string::npos && demo.out.find("--synthetic") != std::string::npos);
    EXPECT_EQ(oxfx({"--version"}).status, 0);
}

// The tone transfer alone, as the enhance entry point sets it up.
std::vector<uint8_t> transferOnly(const oxio::Picture& in) {
    oxtest::Image image = oxtest::make(in.width, in.height, OX_BGR);
    std::copy(in.bgr.begin(), in.bgr.end(), image->data);
    const oxTransferEnhanceParams params{0.3f, 1.4f, 7};
    EXPECT_EQ(oxTransferEnhanceFilter(&params, image.get(), nullptr, image.get(), nullptr), OX_OK);
    return oxtest::bytesOf(image.get());
}

std::vector<uint8_t> enhanced(const oxio::Picture& in) {
    std::vector<uint8_t> out(in.bgr.size());
    EXPECT_EQ(oxYewEnhance(in.width, in.height, in.bgr.data(), out.data(), 0.3f), OX_OK);
    return out;
}

// On 100 x 100 pixels the contrast stage clips 40 dark and 90 bright ones:
// its black and white points meet when no more than that differ from the
// rest, and the stretch would then turn the picture black.
TEST_F(OxfxTest, EnhanceSkipsTheContrastStageWhereItsStretchHasNoRange) {
    const oxio::Picture white = uniform(100, 100, 255, 255, 255), black = uniform(100, 100, 0, 0, 0);
    struct Case {
        const char* name;
        oxio::Picture picture;
        bool skipped;
    };
    const Case cases[] = {
        {"one colour", uniform(64, 48, 200, 120, 30), true},
        {"page with 40 dark dots", sprinkled(white, 40, 0), true},
        {"page with 41 dark dots", sprinkled(white, 41, 0), false},
        {"night with 90 lights", sprinkled(black, 90, 60), true},
        {"night with 91 lights", sprinkled(black, 91, 60), false},
        {"two neighbouring greys", sprinkled(uniform(100, 100, 100, 100, 100), 5000, 101), false},
        {"noise", noisy(40, 30, 3), false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        writeBgr("in.png", c.picture);
        const Result r = oxfx({"enhance", "in.png", "out.png"});
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.err.find("contrast stage skipped") != std::string::npos, c.skipped) << r.err;
        EXPECT_EQ(lineCount(r.err), c.skipped ? 1u : 0u) << r.err;
        EXPECT_EQ(readBack("out.png").bgr, c.skipped ? transferOnly(c.picture) : enhanced(c.picture));
    }
    // Contrast alone, skipped, leaves the page as it was.
    writeBgr("in.png", sprinkled(white, 15, 0));
    ASSERT_EQ(oxfx({"enhance", "in.png", "out.png", "--steepness", "0"}).status, 0);
    EXPECT_EQ(readBack("out.png").bgr, sprinkled(white, 15, 0).bgr);
}

TEST_F(OxfxTest, PicturesBelowAnEffectsSizeAreRefusedNamingTheLimit) {
    struct Case {
        std::vector<std::string> args;
        int32_t width, height;
        int status;
        const char* says;
    };
    const Case cases[] = {
        {{"simplify"}, 3, 3, 1, "simplify needs at least 4 pixels on each side (the picture is 3x3)"},
        {{"simplify"}, 4, 3, 1, "at least 4 pixels on each side"},
        {{"simplify"}, 4, 4, 0, ""},
        {{"simplify", "--iterations", "0"}, 1, 1, 0, ""},
        {{"simplify"}, 4097, 4, 1, "at least 1/1024 of the longer"},
        {{"simplify"}, 4, 4096, 0, ""},
        {{"enhance"}, 8, 7, 1, "enhance needs at least 8x8 pixels"},
        {{"enhance"}, 8, 8, 0, ""},
        {{"enhance", "--steepness", "0"}, 1, 1, 0, "contrast stage skipped"},
        {{"tiltshift"}, 3, 2, 1, "tiltshift needs at least 4x2 pixels"},
        {{"tiltshift"}, 4, 1, 1, "at least 4x2"},
        {{"tiltshift"}, 4, 2, 0, ""},
        {{"tiltshift", "--lens", "0"}, 1, 1, 0, ""},
        {{"tiltshift", "--lens", "-1"}, 8, 3, 1, "try a smaller --lens"},
    };
    for (const Case& c : cases) {
        writeBgr("in.png", noisy(c.width, c.height, 5));
        std::vector<std::string> args = {c.args[0], "in.png", "out.png"};
        args.insert(args.end(), c.args.begin() + 1, c.args.end());
        const Result r = oxfx(args);
        SCOPED_TRACE(c.args[0] + " " + std::to_string(c.width) + "x" + std::to_string(c.height) + ": " + r.err);
        EXPECT_EQ(r.status, c.status);
        if (*c.says) {
            EXPECT_NE(r.err.find(c.says), std::string::npos);
            EXPECT_EQ(lineCount(r.err), 1u);
        } else {
            EXPECT_EQ(r.err, "");
        }
        EXPECT_EQ(fs::exists(work() / "out.png"), c.status == 0);
        fs::remove(work() / "out.png");
    }
    const Result help = oxfx({"--help"});
    for (const char* limit : {"at least 4x4", "at least 8x8", "at least 4x2", "1024 pixels on", "soft by design"})
        EXPECT_NE(help.out.find(limit), std::string::npos) << limit;
}

// A picture too narrow for the blur at the working size gets the lens step
// alone, as with no blur asked for, and the user is told.
TEST_F(OxfxTest, TiltShiftSaysWhenThePictureIsTooNarrowForTheBlur) {
    const oxio::Picture strip = noisy(2000, 20, 9);  // 1024 x 10 at work, the blur needs 31
    writeBgr("in.png", strip);
    const Result r = oxfx({"tiltshift", "in.png", "out.png"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("no blur: the shorter side is 10 pixels"), std::string::npos) << r.err;
    std::vector<uint8_t> lensOnly(strip.bgr.size());
    ASSERT_EQ(oxYewTiltShift(2000, 20, strip.bgr.data(), lensOnly.data(), 0.0f, 0.2f, 0.2f, 0.4f, 0.8f, 0.6f), 0);
    EXPECT_EQ(readBack("out.png").bgr, lensOnly);
    // 30 and 31 pixels at work.
    writeBgr("in.png", noisy(2000, 60, 9));
    EXPECT_NE(oxfx({"tiltshift", "in.png", "out.png"}).err.find("shorter side is 30 pixels"), std::string::npos);
    writeBgr("in.png", noisy(2000, 61, 9));
    EXPECT_EQ(oxfx({"tiltshift", "in.png", "out.png"}).err, "");
}

std::string bigEndian(uint32_t v) {
    return {static_cast<char>(v >> 24), static_cast<char>(v >> 16), static_cast<char>(v >> 8), static_cast<char>(v)};
}

std::string pngChunk(const std::string& type, const std::string& data) {
    const std::string body = type + data;
    const auto crc = ::crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()));
    return bigEndian(static_cast<uint32_t>(data.size())) + body + bigEndian(static_cast<uint32_t>(crc));
}

// A valid header declaring the size over a few bytes of image data.
std::string pngClaiming(uint32_t width, uint32_t height) {
    const std::string ihdr = bigEndian(width) + bigEndian(height) + std::string("\x08\x02\0\0\0", 5);
    return std::string("\x89PNG\r\n\x1a\n", 8) + pngChunk("IHDR", ihdr) +
           pngChunk("IDAT", std::string("\x78\x9c\x63\x00\x00\x00\x01\x00\x01", 9)) + pngChunk("IEND", "");
}

TEST_F(OxfxTest, DeclaredSizesAboveTheLimitAreRefusedBeforeAllocating) {
    writePicture("small.jpg", 16, 16);
    std::string jpeg = slurp(work() / "small.jpg");
    const size_t sof = jpeg.find("\xFF\xC0");
    ASSERT_NE(sof, std::string::npos);
    jpeg.replace(sof + 5, 4, std::string("\x3E\x80\x3E\x80", 4));  // 16000 x 16000
    writeBytes("huge.jpg", jpeg);
    writeBytes("huge.png", pngClaiming(16384, 16383));
    writeBytes("wide.png", pngClaiming(2147483647, 1));
    writeBytes("tall.png", pngClaiming(1, 100000001));
    // Far less than the pixels would take; a sanitizer, and the emulator of
    // a cross build, reserve more than this for themselves.
#if defined(__SANITIZE_ADDRESS__) || defined(OX_UNDER_EMULATOR)
    const std::string shell;
#else
    const std::string shell = "ulimit -v 262144 && ";
#endif
    for (const char* name : {"huge.jpg", "huge.png", "wide.png", "tall.png"}) {
        const Result r = oxfx({"enhance", name, "out.png"}, shell);
        SCOPED_TRACE(r.err);
        EXPECT_EQ(r.status, 1);
        EXPECT_EQ(r.err.rfind(std::string("oxfx: ") + name + ": ", 0), 0u);
        EXPECT_NE(r.err.find("more than the limit of 100000000 pixels (--max-pixels raises it)"), std::string::npos);
        EXPECT_EQ(lineCount(r.err), 1u);
    }
    const Result batch = oxfx({"enhance", "huge.jpg", "huge.png", "wide.png", "tall.png", "out"});
    EXPECT_EQ(batch.status, 1);
    EXPECT_NE(batch.out.find("0 done, 4 failed"), std::string::npos) << batch.out;

    writePicture("in.png", 20, 10);
    const Result under = oxfx({"enhance", "in.png", "out.png", "--max-pixels", "199"});
    EXPECT_EQ(under.status, 1);
    EXPECT_NE(under.err.find("20x10 pixels is more than the limit of 199 pixels"), std::string::npos) << under.err;
    EXPECT_EQ(oxfx({"enhance", "in.png", "out.png", "--max-pixels", "200"}).status, 0);
}

// Refused without the option among the bad command lines above.
TEST_F(OxfxTest, AnOutputReplacesItsInputWithOverwrite) {
    fs::create_directories(work() / "in");
    writePicture("in/a.png", 17, 9);
    writePicture("in/c.png", 31, 8);
    const std::string a = slurp(work() / "in/a.png"), c = slurp(work() / "in/c.png");
    ASSERT_EQ(oxfx({"enhance", "in/a.png", "in/a.png", "--overwrite"}).status, 0);
    EXPECT_NE(slurp(work() / "in/a.png"), a);
    expectPicture("in/a.png", 17, 9);
    const Result batch = oxfx({"enhance", "in", "in", "--overwrite"});
    EXPECT_EQ(batch.status, 0) << batch.err;
    EXPECT_NE(slurp(work() / "in/c.png"), c);
    EXPECT_EQ(listing("in"), (std::set<std::string>{"a.png", "c.png"}));
}

// Stopped while it writes, the tool removes the unfinished file. The
// signal is sent once a temporary file is seen, whenever that is.
TEST_F(OxfxTest, SigintAndSigtermRemoveUnfinishedOutputs) {
    writeBgr("in0.png", noisy(1500, 1000, 11));
    for (int i = 1; i < 4; ++i) fs::copy_file(work() / "in0.png", work() / ("in" + std::to_string(i) + ".png"));
    for (const int signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(signal);
        fs::remove_all(work() / "out");
        const std::string command = commandLine({"enhance", "in0.png", "in1.png", "in2.png", "in3.png", "out", "--jobs", "1"});
        const char* argv[] = {"sh", "-c", command.c_str(), nullptr};
        pid_t pid = 0;  // the shell's, then the tool's
        ASSERT_EQ(posix_spawn(&pid, "/bin/sh", nullptr, nullptr, const_cast<char* const*>(argv), environ), 0);
        auto partial = [&] {
            std::error_code ec;
            for (fs::directory_iterator it(work() / "out", ec), end; !ec && it != end; it.increment(ec))
                if (it->path().extension() == ".part") return true;
            return false;
        };
        int status = 0;
        bool exited = false;
        while (!partial() && !exited) {
            exited = waitpid(pid, &status, WNOHANG) == pid;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        ASSERT_FALSE(exited) << "the batch ended before a temporary file was seen";
        kill(pid, signal);
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 128 + signal);
        EXPECT_FALSE(partial());
        for (const std::string& name : listing("out")) expectPicture("out/" + name, 1500, 1000);
        EXPECT_NE(slurp(work().parent_path() / "stderr").find("unfinished output"), std::string::npos);
    }
}

}  // namespace

#endif
