#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "support/test_support.hpp"

namespace {

// The registry is process-wide: every logger a test makes is released.
struct LoggerDeleter {
    void operator()(oxLogger* p) const { oxLoggerRelease(&p); }
};
using Logger = std::unique_ptr<oxLogger, LoggerDeleter>;

template <class F> std::string console(F&& f) {
    testing::internal::CaptureStdout();
    f();
    return testing::internal::GetCapturedStdout();
}

std::vector<std::string> comparisons;  // "<sign>|<reference>|<written>"
void recordComparison(int32_t c, const char* reference, const char* written) {
    comparisons.push_back(std::to_string((c > 0) - (c < 0)) + "|" + reference + "|" + written);
}

}  // namespace

TEST(Logger, ThresholdAndLevelBoundsDecideWhatIsPrinted) {
    Logger log(oxLoggerCreate("levels", 4));
    auto printAll = [&] {
        for (int32_t m = -1; m <= 4; ++m) oxLoggerPrint(log.get(), m, "m%d", m);
    };
    EXPECT_EQ(console(printAll), "");  // threshold -1 at start
    const std::string upTo2 = "[Log Level 0]: m0\n[Log Level 1]: m1\n[Log Level 2]: m2\n";
    struct Case {
        int32_t threshold;
        std::string out;
    } cases[] = {{2, upTo2}, {0, "[Log Level 0]: m0\n"}, {9, upTo2 + "[Log Level 3]: m3\n"}};
    for (const Case& c : cases) {
        oxLoggerSetLevel(log.get(), c.threshold);
        EXPECT_EQ(console(printAll), c.out) << c.threshold;
    }
}

TEST(Logger, PrefixesAndMessagesAreBoundedAndTakenLiterally) {
    Logger log(oxLoggerCreate("prefix", 2));
    oxLoggerSetLevel(log.get(), 1);
    const std::string cut(999, 'p');
    struct Case {
        int32_t level;
        std::string text, out;
    } cases[] = {{1, "100%% %d%s", "100% %d%s: x\n"}, {1, std::string(1500, 'p'), cut + ": x\n"},
                 {-1, "no", cut + ": x\n"},           {2, "no", cut + ": x\n"}};
    for (const Case& c : cases) {
        oxLoggerSetLevelMessage(log.get(), c.level, c.text.c_str());
        EXPECT_EQ(console([&] { oxLoggerPrint(log.get(), 1, "x"); }), c.out) << c.text;
    }
    EXPECT_EQ(console([&] { oxLoggerPrint(log.get(), 0, "%s", std::string(1500, 'p').c_str()); }),
              "[Log Level 0]: " + cut + "\n");
}

TEST(Logger, ModesChooseOutputsAndOnlyFileModesTruncate) {
    oxtest::TempDir dir;
    const std::string path = (dir.path() / "out.log").string(), line = "[Log Level 0]: x\n";
    struct Case {
        int32_t levels, mode, truncate;
        std::string out, file;
    } cases[] = {{1, OX_LOG_CONSOLE, 1, line, "old\n"},
                 {1, OX_LOG_FILE, 1, "", line},
                 {1, OX_LOG_CONSOLE_AND_FILE, 1, line, line},
                 {1, 3, 1, "", "old\n"},  // not a mode: nothing is emitted
                 {1, OX_LOG_FILE, 0, "", "old\n" + line},
                 {0, OX_LOG_CONSOLE_AND_FILE, 1, "", "old\n"}};
    for (const Case& c : cases) {
        std::ofstream(path) << "old\n";
        Logger log(oxLoggerCreate("modes", c.levels));
        oxLoggerSetLevel(log.get(), 0);
        oxLoggerSetMode(log.get(), c.mode, path.c_str(), c.truncate, nullptr, nullptr);
        EXPECT_EQ(console([&] { oxLoggerPrint(log.get(), 0, "x"); }), c.out) << c.mode;
        EXPECT_EQ(oxtest::slurp(path), c.file) << c.levels << "/" << c.mode << "/" << c.truncate;
    }
}

TEST(Logger, ReferenceFileIsComparedLineByLineThenAsEmpty) {
    oxtest::TempDir dir;
    const std::string path = (dir.path() / "run.log").string(), ref = (dir.path() / "ref.log").string();
    std::ofstream(ref) << "[Log Level 0]: a\n[Log Level 0]: zzz\n";
    Logger log(oxLoggerCreate("compare", 1));
    oxLoggerSetLevel(log.get(), 0);
    comparisons.clear();
    oxLoggerSetMode(log.get(), OX_LOG_FILE, path.c_str(), 0, ref.c_str(), recordComparison);  // no truncate: no reference
    oxLoggerPrint(log.get(), 0, "a");
    oxLoggerSetMode(log.get(), OX_LOG_FILE, path.c_str(), 1, ref.c_str(), recordComparison);
    for (const char* m : {"a", "b", "c"}) oxLoggerPrint(log.get(), 0, "%s", m);
    EXPECT_EQ(comparisons, std::vector<std::string>({"0|[Log Level 0]: a\n|[Log Level 0]: a\n",
                                                     "1|[Log Level 0]: zzz\n|[Log Level 0]: b\n",
                                                     "-1||[Log Level 0]: c\n"}));
    EXPECT_EQ(oxtest::slurp(path), "[Log Level 0]: a\n[Log Level 0]: b\n[Log Level 0]: c\n");
}

TEST(LoggerRegistry, ReleasingOneLoggerUnregistersEveryLoggerOfItsCode) {
    const int32_t before = registered_logger_size;
    Logger first(oxLoggerCreate("dup", 1)), second(oxLoggerCreate("dup", 1)), other(oxLoggerCreate("a%%b", 1));
    EXPECT_EQ(oxLoggerFindByCode("dup"), first.get());
    second.reset();
    EXPECT_EQ(oxLoggerFindByCode("dup"), nullptr);
    EXPECT_EQ(oxLoggerFindByCode("a%b"), other.get());
    oxLoggerSetLevel(first.get(), 0);  // still alive, merely unfindable
    EXPECT_EQ(console([&] { oxLoggerPrint(first.get(), 0, "alive"); }), "[Log Level 0]: alive\n");
    Logger third(oxLoggerCreate("dup", 1));
    EXPECT_EQ(oxLoggerFindByCode("dup"), third.get());
    EXPECT_EQ(registered_logger_size, before + 4);  // slots are never reused
}
