#include <gtest/gtest.h>

#include "support/test_support.hpp"

using namespace oxtest;

TEST(CvtType, RefusalsAndUnknownCodesWriteNothing) {
    struct Case {
        bool stretch;
        int32_t srcType, dstW, dstH, dstEnc, dstType;
        double low, high;
        int32_t status;
    } cases[] = {
        {false, OX_8U, 4, 2, OX_RGB, OX_16U, 0, 1, 1},   {false, OX_8U, 3, 2, OX_BGR, OX_16U, 0, 1, 1},  // too small
        {false, OX_8U, 3, 2, OX_BGR, OX_8U, 0, 1, 1},    {false, 7, 4, 2, OX_BGR, OX_16U, 0, 1, 0},
        {false, OX_8U, 4, 2, OX_BGR, 99, 0, 1, 0},       {true, OX_8U, 4, 2, OX_BGR, OX_16U, 5, 5, 1},
        {true, OX_8U, 3, 2, OX_BGR, OX_16U, 0, 1, 1},    {true, OX_8U, 4, 3, OX_BGR, OX_16U, 0, 1, 1},
        {true, 7, 4, 2, OX_BGR, OX_16U, 0, 1, 1},        {true, OX_8U, 4, 2, OX_GRAY, OX_16U, 0, 1, 1},  // fewer channels
    };
    for (const Case& c : cases) {
        Image src = noise(4, 2, OX_BGR, OX_8U, 3), dst = make(c.dstW, c.dstH, c.dstEnc, OX_16U);
        std::memset(dst->data, 0xA5, byteCount(dst.get()));
        const std::vector<uint8_t> before = bytesOf(dst.get());
        src->type = c.srcType;
        dst->type = c.dstType;
        EXPECT_EQ(c.stretch ? oxImageCvtTypeGivenRange(src.get(), dst.get(), c.low, c.high) : oxImageCvtType(src.get(), dst.get()),
                  c.status);
        dst->type = OX_16U;
        EXPECT_EQ(bytesOf(dst.get()), before) << c.stretch << " " << c.srcType << " -> " << c.dstType;
    }
}
