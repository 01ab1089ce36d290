// Calls from several host threads at once: four threads run the three
// effects and the heavy filters on images of their own while a fifth keeps
// changing the process-wide settings and creating and releasing loggers.
// Each thread must get exactly the bytes the same calls give alone: a
// filter that kept scratch memory or tables in hidden shared state would
// mix the threads' pictures. Built with OX_SANITIZE=thread, the run must
// also draw no ThreadSanitizer report.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "support/test_support.hpp"

using namespace oxtest;

namespace {

struct BilateralDeleter {
    void operator()(oxBilateralParams* p) const { oxBilateralParamsRelease(&p); }
};
using Bilateral = std::unique_ptr<oxBilateralParams, BilateralDeleter>;

uint64_t hashVolume(const oxVolume* v) {
    uint64_t h = 0;
    for (int32_t z = 0; z < v->depth; ++z) h = h * 31 + hashImage(v->planes[z]);
    return h;
}

// What one call gave: its status and the hash of what it wrote.
struct Outcome {
    std::string what;
    int32_t status;
    uint64_t hash;
    bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& o, std::ostream* os) { *os << o.what << ": status " << o.status << " hash " << o.hash; }

// Every effect and heavy filter once, on pictures made from `seed`.
std::vector<Outcome> runAll(uint32_t seed) {
    std::vector<Outcome> out;
    // The hash is taken here, after the call: as arguments of one call the
    // two would be evaluated in no fixed order.
    auto note = [&](const char* what, int32_t status, const auto* written) {
        if constexpr (std::is_same_v<decltype(written), const oxVolume*>)
            out.push_back({what, status, hashVolume(written)});
        else
            out.push_back({what, status, hashImage(written)});
    };
    constexpr int32_t w = 61, h = 47;
    Image src = noise(w, h, OX_BGR, OX_8U, seed), dst = make(w, h, OX_BGR);
    Image weights = noise(w, h, OX_GRAY, OX_8U, seed + 1);

    // The entry points, the Simplify one on both of its paths.
    Image wide = noise(1030, 6, OX_BGR, OX_8U, seed + 2), wideOut = make(1030, 6, OX_BGR);
    note("simplify resized", oxYewSimplify(1030, 6, wide->data, wideOut->data, 2, 0.3f, 0.5f), wideOut.get());
    note("simplify direct", oxYewSimplify(w, h, src->data, dst->data, 2, 1.25f, 0.5f), dst.get());
    note("enhance", oxYewEnhance(w, h, src->data, dst->data, 0.4f), dst.get());
    note("tilt-shift", oxYewTiltShift(w, h, src->data, dst->data, 0.5f, 0.3f, 0.3f, 0.4f, 0.7f, 0.6f),
         dst.get());

    // Every enhance stage, through the pipeline and on its own.
    const oxEnhanceParams all{1, 1, 0.8f, 9.0f, 4.0f, 0.3f, 1.4f, 7, 1, 0.6f, 1, 0.3f};
    note("enhance stages", oxEnhanceFilter(&all, src.get(), weights.get(), dst.get(), nullptr), dst.get());
    note("colour correction", oxColorCorrectionFilter(src.get(), weights.get(), dst.get(), nullptr),
         dst.get());
    const oxContrastEnhanceParams contrast{9.0f, 4.0f, 0, 255, 0};
    note("contrast", oxContrastEnhanceFilter(&contrast, src.get(), nullptr, dst.get(), nullptr), dst.get());
    const oxTransferEnhanceParams transfer{0.3f, 1.4f, 7};
    note("transfer", oxTransferEnhanceFilter(&transfer, src.get(), nullptr, dst.get(), nullptr), dst.get());
    const oxFillLightParams fill{0.7};
    Image light = noise(w, h, OX_BGR, OX_8U, seed + 6);
    note("fill light", oxFillLight(&fill, src.get(), light.get(), dst.get(), nullptr), dst.get());
    const oxHighBoostParams boost{1, {2, 2}, 1.3f, 4.0f};
    note("high boost", oxHighBoostFilter(&boost, src.get(), dst.get(), nullptr), dst.get());
    const oxSharpenParams sharpen{0.3};
    note("sharpen", oxSharpenFilter(&sharpen, src.get(), weights.get(), dst.get(), nullptr), dst.get());
    const oxSaturateParams saturate{1.6f};
    note("saturate", oxSaturateFilter(&saturate, src.get(), dst.get(), nullptr), dst.get());

    // The bilateral filters rebuild their tables for the new sigmas.
    Bilateral bilateral(oxBilateralParamsDefault());
    bilateral->radius = 3;
    bilateral->spaceSigma = 2.0;
    bilateral->rangeSigma = 0.2 + 0.01 * seed;
    note("bilateral", oxBilateralFilter(bilateral.get(), src.get(), dst.get()), dst.get());
    Bilateral bilateral3(oxBilateralParamsDefault3D());
    bilateral3->radius = 2;
    bilateral3->rangeSigma = 0.3;
    TestVolume vol = noiseVolume(13, 11, 5, OX_8U, seed + 3), volOut = noiseVolume(13, 11, 5, OX_8U, 0);
    note("bilateral 3-D", oxBilateralFilter3D(bilateral3.get(), vol.get(), volOut.get()), volOut.get());

    // Resize in its three modes, separable convolution of images and
    // volumes (the latter reads the core count), box blur, lens.
    Image big = make(97, 71, OX_BGR);
    note("resize bilinear", oxResize(src.get(), big.get(), 0, nullptr), big.get());
    Image f = noise(w, h, OX_GRAY, OX_64F, seed + 4), fBig = make(97, 71, OX_GRAY, OX_64F);
    note("resize lanczos", oxResize(f.get(), fBig.get(), 1, nullptr), fBig.get());
    Image f32 = noise(w, h, OX_RGB, OX_32F, seed + 5), f32Small = make(23, 19, OX_RGB, OX_32F);
    note("resize nearest", oxResize(f32.get(), f32Small.get(), -1, nullptr), f32Small.get());
    Kernel gauss(oxSepKernelGaussianFromSigma(3, 1.5));
    note("convolution", oxSeparableConvolutionFilter(src.get(), dst.get(), gauss.get()), dst.get());
    Kernel gauss3(oxSepKernelCreate3D(1, 2, 1, 1, OX_PAD_REFLECT));
    for (float* k : {gauss3->kernelX, gauss3->kernelY, gauss3->kernelZ}) std::fill(k, k + 3, 1.0f);
    note("convolution 3-D", oxSeparableConvolutionFilter3D(vol.get(), volOut.get(), gauss3.get()),
         volOut.get());
    const oxBlurParams blur{2, 3};
    note("box blur", oxBlurFilter(&blur, src.get(), dst.get(), nullptr), dst.get());
    const oxLensDistortionParams lens{0.4f, 0.45f, 0.55f, 1};
    note("lens", oxLensDistortionFilter(&lens, src.get(), big.get(), nullptr), big.get());
    return out;
}

}  // namespace

TEST(Threads, ConcurrentCallsGiveTheBytesOfCallsAloneWhileSettingsAndLoggersChange) {
    constexpr int kWorkers = 4;
    std::vector<std::vector<Outcome>> alone(kWorkers), together(kWorkers);
    for (int t = 0; t < kWorkers; ++t) {
        alone[t] = runAll(100 + t);
        for (const Outcome& o : alone[t]) ASSERT_EQ(o.status, 0) << o.what;
    }

    std::atomic<bool> running{false}, done{false};
    std::thread settings([&] {
        int32_t loggers = 0;
        for (int32_t i = 0; !done.load() || i < 64; ++i) {
            if (i == 1) running.store(true);
            // A core count below 1 would make the volume convolution stop
            // early, so the count stays in 1..4.
            oxSystemInfoSetNumberOfCores(1 + i % 4);
            oxSystemInfoEnableNumberOfCoresExplicitConstraint(i % 2);
            (void)oxSystemInfoGetMaxNumberOfThreads();
            oxSetCheckImageFunction(i % 2 ? oxShowImageFuncDefault : nullptr);
            oxSetExportImageFunction(oxExportImageFuncDefault);
            oxSetImportImageFunction(oxImportImageFuncDefault);
            // Every release scans the whole registry, which never shrinks:
            // a bounded number of loggers keeps the thread cheap.
            if (loggers < 500) {
                oxLogger* logger = oxLoggerCreate("threads", 3);
                oxLoggerSetLevel(logger, 1);
                (void)oxLoggerFindByCode("threads");
                oxLoggerRelease(&logger);
                ++loggers;
            }
        }
    });
    while (!running.load()) std::this_thread::yield();
    std::vector<std::thread> workers;
    for (int t = 0; t < kWorkers; ++t) workers.emplace_back([&, t] { together[t] = runAll(100 + t); });
    for (std::thread& w : workers) w.join();
    done.store(true);
    settings.join();

    for (int t = 0; t < kWorkers; ++t) EXPECT_EQ(together[t], alone[t]) << "thread " << t;
    // The settings are process-wide: put back the start values.
    number_of_cores = 1;
    limit_constraint = 0;
    check_image_func = oxShowImageFuncDefault;
    export_image_func = oxExportImageFuncDefault;
    import_image_func = oxImportImageFuncDefault;
    check_image_func_setted = export_image_func_setted = import_image_func_setted = false;
}
