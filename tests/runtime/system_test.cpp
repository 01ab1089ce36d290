#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "containers/detail/volume_layout.hpp"
#include "support/test_support.hpp"

namespace {

int32_t hostCheck(const oxImage*, const char*) { return 5; }

}  // namespace

// The settings are process-wide: the test ends by putting back the start values it checks first.
TEST(SystemSettings, StartValuesThreadLimitAndHookFlags) {
    EXPECT_EQ(oxSystemInfoGetNumberOfCores(), 1);
    EXPECT_FALSE(oxCheckImageFunctionIsSetted() || oxExportImageFunctionIsSetted() || oxImportImageFunctionIsSetted());
    EXPECT_EQ(oxGetImportImageFunction(), &oxImportImageFuncDefault);
    EXPECT_EQ(oxImportImageFuncDefault("x"), nullptr);
    struct Case {
        int32_t constraint, cores, threads;
    } cases[] = {{0, 1, INT32_MAX}, {1, 8, 8}, {-1, 8, INT32_MAX}, {2, 0, 0}};
    for (const Case& c : cases) {
        oxSystemInfoEnableNumberOfCoresExplicitConstraint(c.constraint);
        oxSystemInfoSetNumberOfCores(c.cores);
        EXPECT_EQ(oxSystemInfoGetMaxNumberOfThreads(), c.threads) << c.constraint << "/" << c.cores;
    }
    // Installing a hook sets its flag for good; only the check query also
    // looks at the pointer.
    oxSetCheckImageFunction(nullptr);
    oxSetExportImageFunction(nullptr);
    oxSetImportImageFunction(nullptr);
    EXPECT_FALSE(oxCheckImageFunctionIsSetted());
    EXPECT_TRUE(oxExportImageFunctionIsSetted() && oxImportImageFunctionIsSetted());
    oxSetCheckImageFunction(hostCheck);
    EXPECT_EQ(oxGetCheckImageFunction()(nullptr, "x"), 5);
    oxSetCheckImageFunction(oxShowImageFuncDefault);
    EXPECT_TRUE(oxCheckImageFunctionIsSetted());

    number_of_cores = 1;
    limit_constraint = 0;
    export_image_func = oxExportImageFuncDefault;
    import_image_func = oxImportImageFuncDefault;
    check_image_func_setted = export_image_func_setted = import_image_func_setted = false;
}

// A host thread changes settings while a volume convolution reads the
// core count: each call sees one granted count or another, all at least
// 1, so every result is the same. (A ThreadSanitizer build reports the
// race that plain variables were.)
TEST(SystemSettings, ChangedByTheHostWhileAFilterReadsThem) {
    using ox::detail::VolumePtr;
    VolumePtr src(oxVolumeCreate(16, 16, 4)), expected(oxVolumeCreate(16, 16, 4)), out(oxVolumeCreate(16, 16, 4));
    oxtest::Kernel kernel(oxSepKernelGaussian(1));
    ASSERT_TRUE(src && expected && out && kernel);
    for (int32_t i = 0; i < 16 * 16 * 4; ++i) src->data[i] = static_cast<uint8_t>(i * 37);
    ASSERT_EQ(oxSeparableConvolutionFilter3D(src.get(), expected.get(), kernel.get()), 0);
    std::atomic<bool> done{false};
    std::thread host([&done] {
        for (int32_t i = 0; !done.load(); ++i) {
            oxSystemInfoSetNumberOfCores(1 + i % 4);
            oxSystemInfoEnableNumberOfCoresExplicitConstraint(i % 2);
            oxSetExportImageFunction(i % 2 ? nullptr : oxExportImageFuncDefault);
        }
    });
    for (int32_t run = 0; run < 20; ++run) {
        ASSERT_EQ(oxSeparableConvolutionFilter3D(src.get(), out.get(), kernel.get()), 0);
        ASSERT_EQ(std::memcmp(out->data, expected->data, 16 * 16 * 4), 0) << run;
    }
    done = true;
    host.join();
    number_of_cores = 1;
    limit_constraint = 0;
    export_image_func = oxExportImageFuncDefault;
    export_image_func_setted = false;
}
