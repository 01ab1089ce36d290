// The lens distortion's fast forms (crop found first, only the rows the
// resize reads, eight pixels at a time) against the plain whole-image form,
// byte for byte, on every instruction-set path.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "geometry/detail/lens_ops.hpp"
#include "support/paths.hpp"

using namespace oxtest;
using namespace ox::detail;

namespace {

// Pixels that end exactly where an unreadable page begins, so a read past
// the last byte faults instead of passing unnoticed.
class GuardedPixels {
public:
    explicit GuardedPixels(size_t bytes) {
        const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        size_ = (bytes + page - 1) / page * page + page;
        void* m = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        base_ = m == MAP_FAILED ? nullptr : static_cast<uint8_t*>(m);
        if (base_) mprotect(base_ + size_ - page, page, PROT_NONE);
        data_ = base_ ? base_ + size_ - page - bytes : nullptr;
    }
    ~GuardedPixels() {
        if (base_) munmap(base_, size_);
    }
    GuardedPixels(const GuardedPixels&) = delete;
    GuardedPixels& operator=(const GuardedPixels&) = delete;
    uint8_t* data() const { return data_; }

private:
    uint8_t* base_ = nullptr;
    uint8_t* data_ = nullptr;
    size_t size_ = 0;
};

// Noise, or with seed 0 a flat 255: the weights of a sample can sum just
// below 1, so a flat image shows every rounding of the blend.
void fill(uint8_t* p, size_t n, uint32_t seed) {
    std::mt19937 rng(seed);
    for (size_t i = 0; i < n; ++i) p[i] = seed ? static_cast<uint8_t>(rng()) : 255;
}

struct Shape {
    float amount, cx, cy;
    int32_t dw, dh;  // crop destination; 0: the uncropped form
};

// Amount 0 samples every last column and row; the strong ones leave most
// pixels outside or throw the centre off the image (no crop); the
// destinations scale up, down (3 and 5 times: rows skipped) and to one row
// or column.
const Shape kShapes[] = {{0.0f, 0.5f, 0.5f, 0, 0},    {0.4f, 0.5f, 0.5f, 0, 0},     {-2.5f, 0.2f, 0.9f, 0, 0},
                         {30.0f, 0.5f, 0.5f, 0, 0},   {0.0f, 0.5f, 0.5f, 17, 9},    {0.3f, 0.4f, 0.6f, 45, 13},
                         {-0.7f, 0.6f, 0.3f, 8, 3},   {0.2f, 0.5f, 0.5f, 3, 1},     {1.5f, 0.5f, 0.45f, 1, 5},
                         {0.5f, 3.0f, 0.5f, 10, 10}, {-30.0f, 0.5f, 0.5f, 10, 10}};

std::string describe(int32_t w, int32_t h, int32_t channels, const Shape& s, int variant) {
    return std::to_string(w) + "x" + std::to_string(h) + "x" + std::to_string(channels) + " amount " +
           std::to_string(s.amount) + " centre " + std::to_string(s.cx) + "," + std::to_string(s.cy) + " to " +
           std::to_string(s.dw) + "x" + std::to_string(s.dh) + " variant " + std::to_string(variant);
}

}  // namespace

TEST(LensPaths, EveryFormMatchesTheReference) {
    const int32_t clear = 0, set = 1;
    for (int32_t channels : {1, 3, 4})
        for (int32_t w : awkwardWidths()) {
            if (w < 2) continue;
            const int32_t h = w == 1031 ? 6 : 2 + w % 13;
            const size_t bytes = size_t(w) * h * channels;
            for (const Shape& s : kShapes)
                for (int variant = 0; variant < 5; ++variant) {
                    // 0: no flag; 1: a clear flag (the work-image form
                    // without crop); 2: in place (uncropped only); 3: a set
                    // flag, which must leave dst as it was; 4: lent scratch
                    // of the source's size (dirty).
                    const bool flag = variant == 1 || variant == 3, inPlace = variant == 2;
                    const int32_t* abortFlag = variant == 3 ? &set : flag ? &clear : nullptr;
                    if (inPlace && s.dw) continue;
                    const bool crop = s.dw != 0;
                    const int32_t dw = crop ? s.dw : w, dh = crop ? s.dh : h;
                    expectSameOnEveryPath(describe(w, h, channels, s, variant), [&] {
                        GuardedPixels in(bytes);
                        fill(in.data(), bytes, w % 4 ? uint32_t(w * 7 + channels) : 0);
                        std::vector<uint8_t> out(size_t(dw) * dh * channels);
                        fill(out.data(), out.size(), 3);
                        uint8_t* target = inPlace ? in.data() : out.data();
                        const ConstView<uint8_t> src{in.data(), w, h, channels, int64_t{w} * channels};
                        const View<uint8_t> dst{target, dw, dh, channels, int64_t{dw} * channels};
                        std::vector<uint8_t> lent(variant == 4 ? bytes : 0);
                        fill(lent.data(), lent.size(), 11);
                        const Status status =
                            lensDistortion({s.amount, s.cx, s.cy, crop}, src, dst, abortFlag, lent);
                        std::vector<uint8_t> result(target, target + size_t(dw) * dh * channels);
                        result.push_back(static_cast<uint8_t>(status));
                        return result;
                    });
                }
        }
}
