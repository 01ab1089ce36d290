#include <gtest/gtest.h>

#include "support/test_support.hpp"

namespace {

// The settings are process-wide: each test puts them back as it found them.
class SystemSettings : public testing::Test {
    int32_t cores_ = number_of_cores, limit_ = limit_constraint;
    oxCheckImageFunction check_ = check_image_func;
    oxExportImageFunction export_ = export_image_func;
    oxImportImageFunction import_ = import_image_func;
    bool flags_[3] = {check_image_func_setted, export_image_func_setted, import_image_func_setted};

protected:
    void TearDown() override {
        number_of_cores = cores_;
        limit_constraint = limit_;
        check_image_func = check_;
        export_image_func = export_;
        import_image_func = import_;
        check_image_func_setted = flags_[0];
        export_image_func_setted = flags_[1];
        import_image_func_setted = flags_[2];
    }
};

int32_t hostCheck(const oxImage*, const char*) { return 5; }

}  // namespace

TEST_F(SystemSettings, StartValuesAndThreadLimit) {
    EXPECT_EQ(oxSystemInfoGetNumberOfCores(), 1);
    EXPECT_FALSE(oxCheckImageFunctionIsSetted() || oxExportImageFunctionIsSetted() || oxImportImageFunctionIsSetted());
    EXPECT_EQ(oxGetCheckImageFunction(), &oxShowImageFuncDefault);
    EXPECT_EQ(oxGetExportImageFunction(), &oxExportImageFuncDefault);
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
}

TEST_F(SystemSettings, OnlyTheCheckQueryLooksAtThePointerAndFlagsStaySet) {
    oxSetCheckImageFunction(nullptr);
    oxSetExportImageFunction(nullptr);
    oxSetImportImageFunction(nullptr);
    EXPECT_FALSE(oxCheckImageFunctionIsSetted());
    EXPECT_TRUE(oxExportImageFunctionIsSetted());
    EXPECT_TRUE(oxImportImageFunctionIsSetted());
    oxSetCheckImageFunction(hostCheck);
    EXPECT_EQ(oxGetCheckImageFunction()(nullptr, "x"), 5);
    oxSetCheckImageFunction(oxShowImageFuncDefault);
    EXPECT_TRUE(oxCheckImageFunctionIsSetted());
}
