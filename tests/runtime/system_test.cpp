#include <gtest/gtest.h>

#include "support/test_support.hpp"

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
    oxSetCheckImageFunction([](const oxImage*, const char*) -> int32_t { return 5; });
    EXPECT_EQ(oxGetCheckImageFunction()(nullptr, "x"), 5);
    oxSetCheckImageFunction(oxShowImageFuncDefault);
    EXPECT_TRUE(oxCheckImageFunctionIsSetted());

    number_of_cores = 1;
    limit_constraint = 0;
    export_image_func = oxExportImageFuncDefault;
    import_image_func = oxImportImageFuncDefault;
    check_image_func_setted = export_image_func_setted = import_image_func_setted = false;
}
