// The path choice itself: narrowing takes effect and a cap above the
// processor's widest path changes nothing.
#include <gtest/gtest.h>

#include "support/paths.hpp"

using namespace oxtest;
using ox::detail::activeIsa;
using ox::detail::detectedIsa;

TEST(IsaChoice, NarrowingIsObeyedAndCappedByTheProcessor) {
    for (Isa isa : availableIsas()) {
        IsaScope scope(isa);
        EXPECT_EQ(activeIsa(), isa) << ox::detail::isaName(isa);
    }
    EXPECT_EQ(activeIsa(), detectedIsa());
    EXPECT_GE(static_cast<int>(detectedIsa()), static_cast<int>(Isa::Baseline));
}
