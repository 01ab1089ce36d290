// The contrast and transfer stages of Enhance as one walk over packed
// three-byte colour (see contrastThenTransfer in enhance_ops.hpp): the
// histogram pass keeps the source's brightness, the contrast table turns it
// into the brightness of the contrast output, and one table that is the
// transfer table read through the contrast table maps the source straight
// to the transfer output.
#include "convolution/detail/blur_ops.hpp"
#include "core/detail/handles.hpp"
#include "core/detail/size.hpp"
#include "effects/detail/enhance_ops.hpp"

namespace ox::detail {

namespace {

// Where max(t[a], t[b], t[c]) = t[max(a, b, c)] holds for every a, b, c.
bool neverDecreases(const uint8_t* table) noexcept {
    for (int32_t i = 1; i < 256; ++i)
        if (table[i] < table[i - 1]) return false;
    return true;
}

// Rows `first` on of the contrast stage's output: every byte through the
// table. What a failure after the contrast stage leaves.
void contrastRows(ConstView<uint8_t> src, View<uint8_t> dst, const uint8_t* table, int32_t first) noexcept {
    for (int32_t y = first; y < src.height; ++y) {
        const uint8_t* s = src.row(y);
        uint8_t* d = dst.row(y);
        for (int64_t i = 0; i < src.rowElements(); ++i) d[i] = table[s[i]];
    }
}

}  // namespace

Status contrastThenTransfer(ConstView<uint8_t> src, View<uint8_t> dst, const oxContrastEnhanceParams& contrast,
                            const oxTransferEnhanceParams& transfer, AbortFlag abortFlag, bool& declined) noexcept {
    declined = true;
    const int32_t w = src.width, h = src.height;
    // The composed table, then the brightness plane.
    constexpr int64_t kTable = 256 * 256;
    const Count planeBytes = checkedProduct({w, h});
    const Count bytes = planeBytes ? checkedSum({kTable, *planeBytes}) : std::nullopt;
    if (!bytes) return Status::Ok;
    Buffer scratch = allocateBuffer(static_cast<size_t>(*bytes));
    if (!scratch) return Status::Ok;
    uint8_t* const gains = scratch.get();
    uint8_t* const plane = gains + kTable;
    const auto planeRow = [plane, w](int32_t y) { return plane + static_cast<int64_t>(y) * w; };

    // The contrast statistics: the source's brightness (the largest of the
    // three bytes, whatever their order), counted and kept.
    const ChannelOffsets threeBytes{{0, 1, 2}};
    BrightnessCounts counts;
    for (int32_t y = 0; y < h; ++y) {
        if (abortRequested(abortFlag)) {
            declined = false;
            return Status::Aborted;
        }
        brightnessRow(src.row(y), 3, threeBytes, w, planeRow(y));
        counts.add(planeRow(y), w);
    }
    uint8_t table[256];
    contrastTable(counts, static_cast<int64_t>(h) * w, contrast, table);
    if (!neverDecreases(table)) return Status::Ok;
    declined = false;

    // The contrast output's brightness and the transfer statistics: one
    // float running sum in row-major order, never split into partial sums
    // (past 2^24 every add rounds, and the mean selects the whole curve).
    float stretched[256];
    for (int32_t i = 0; i < 256; ++i) stretched[i] = static_cast<float>(table[i]);
    float sum = 0.0f;
    for (int32_t y = 0; y < h; ++y) {
        if (abortRequested(abortFlag)) {
            contrastRows(src, dst, table, 0);
            return Status::Aborted;
        }
        uint8_t* b = planeRow(y);
        for (int32_t x = 0; x < w; ++x) {
            sum += stretched[b[x]];
            b[x] = table[b[x]];
        }
    }

    // The neighbourhood brightness, blurred in place; a radius below 1
    // keeps the pixel's own.
    const View<uint8_t> levels{plane, w, h, 1, w};
    if (transfer.radius >= 1)
        if (const Status r = boxBlurPlane(levels, levels, transfer.radius, transfer.radius, abortFlag);
            r != Status::Ok) {
            contrastRows(src, dst, table, 0);
            return r;
        }

    // Row L of the composed table maps source byte v to what the transfer
    // table gives the contrast output table[v] in a neighbourhood of L.
    fillGainTable(transferCurveOf(sum, w, h, transfer), stretched, gains);
    for (int32_t y = 0; y < h; ++y) {
        if (abortRequested(abortFlag)) {
            contrastRows(src, dst, table, y);
            return Status::Aborted;
        }
        gainLookupRow(src.row(y), planeRow(y), gains, dst.row(y), w);
    }
    return Status::Ok;
}

}  // namespace ox::detail
