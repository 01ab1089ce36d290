// oxfx end to end: the built tool runs as a child process on small
// pictures written here, and is judged by its exit status, its messages and
// the files it leaves behind.
#include <gtest/gtest.h>

#if defined(OXFX_PATH) && defined(OX_HAVE_IMAGEIO)

#include <png.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <regex>
#include <set>

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

// Every test works in <temp>/work; the child's output goes beside it.
class OxfxTest : public ::testing::Test {
protected:
    void SetUp() override { fs::create_directories(work()); }

    fs::path work() const { return tmp_.path() / "work"; }

    Result oxfx(const std::vector<std::string>& args) const {
        std::string command = "cd " + quote(work().string()) + " && " + quote(OXFX_PATH);
        for (const std::string& arg : args) command += " " + quote(arg);
        command += " <" + quote("/dev/null") + " >" + quote((tmp_.path() / "stdout").string()) + " 2>" +
                   quote((tmp_.path() / "stderr").string());
        const int raw = std::system(command.c_str());
        Result result;
        result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        result.out = slurp(tmp_.path() / "stdout");
        result.err = slurp(tmp_.path() / "stderr");
        return result;
    }

    // A picture with `channels` 1 (grey), 3 or 4 (with alpha), as PNG or,
    // for 3 channels, as JPEG by the extension.
    void writePicture(const std::string& name, int32_t width, int32_t height, int channels = 3) const {
        const std::string path = (work() / name).string();
        std::vector<uint8_t> pixels(static_cast<size_t>(width) * height * channels);
        std::mt19937 rng(7);
        for (uint8_t& p : pixels) p = static_cast<uint8_t>(rng());
        if (oxio::formatFromPath(path) == oxio::Format::Jpeg) {
            oxio::Picture picture{width, height, pixels, false};
            std::string error;
            ASSERT_TRUE(oxio::writePicture(path, picture, 90, error)) << error;
            return;
        }
        png_image image{};
        image.version = PNG_IMAGE_VERSION;
        image.width = static_cast<png_uint_32>(width);
        image.height = static_cast<png_uint_32>(height);
        image.format = channels == 1 ? PNG_FORMAT_GRAY : channels == 4 ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
        ASSERT_TRUE(png_image_write_to_file(&image, path.c_str(), 0, pixels.data(), 0, nullptr)) << image.message;
    }

    void writeBytes(const std::string& name, const std::string& bytes) const {
        std::ofstream(work() / name, std::ios::binary) << bytes;
    }

    std::set<std::string> listing(const std::string& folder = ".") const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(work() / folder)) names.insert(entry.path().filename().string());
        return names;
    }

    void expectPicture(const std::string& name, int32_t width, int32_t height) const {
        oxio::Picture picture;
        std::string error;
        ASSERT_TRUE(oxio::readPicture((work() / name).string(), picture, error)) << error;
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
    const std::set<std::string> before = listing();
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
        {{"enhance", "good.png", "out.bmp"}, 1, "out.bmp"},
        {{"enhance", "good.png", "no/such/folder/out.png"}, 1, "no/such/folder/out.png"},
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
        EXPECT_EQ(listing(), before);
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

    // Listed files, one named twice, into the folder of the inputs: nothing
    // may be overwritten, a duplicate output is refused.
    const std::string before = slurp(work() / "in/a.png");
    const Result self = oxfx({"simplify", "in/a.png", "in/c.png", "in"});
    EXPECT_EQ(self.status, 1);
    EXPECT_EQ(slurp(work() / "in/a.png"), before);
    EXPECT_NE(self.out.find("0 done, 2 failed"), std::string::npos) << self.out;
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

TEST_F(OxfxTest, NoArgumentsPrintTheUsageAndExit2) {
    const Result r = oxfx({});
    EXPECT_EQ(r.status, 2);
    for (const char* text : {"usage: oxfx COMMAND", "simplify", "tiltshift", "enhance", "demo"})
        EXPECT_NE((r.out + r.err).find(text), std::string::npos) << text;
    EXPECT_TRUE(listing().empty());
}

// Each command's help lists its options with range and default, and both
// ends of every range are accepted (a refused command line exits 2); JPEG's
// quality runs from 1 to 100.
TEST_F(OxfxTest, HelpListsEveryOptionAndItsLimitsAreAccepted) {
    fs::create_directories(work() / "in");
    writePicture("in/a.jpg", 48, 40);
    const std::regex option(R"(--([a-z-]+) [A-Z]+ +[^\n]*\(([-+.e0-9]+) to ([-+.e0-9]+); default)");
    const std::pair<const char*, std::string> commands[] = {
        {"simplify", "iterations range-factor saturation quality jobs "},
        {"tiltshift", "strength lens ax ay bx by quality jobs "},
        {"enhance", "steepness quality jobs "}};
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

}  // namespace

#endif
