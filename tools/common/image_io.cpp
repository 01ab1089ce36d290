#include "image_io.hpp"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <set>

#include <unistd.h>

#include <jpeglib.h>
// jerror.h needs jpeglib.h first.
#include <jerror.h>
#include <png.h>

namespace oxio {
namespace {

struct FileCloser {
    void operator()(FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<FILE, FileCloser>;

std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

bool endsWith(const std::string& s, const std::string& suffix) {
    return s.size() >= suffix.size() && s.compare(s.size() - suffix.size(), suffix.size(), suffix) == 0;
}

std::string sizeRefusal(const std::string& path, uint64_t width, uint64_t height, const ReadLimits& limits) {
    std::string text = path + ": ";
    if (width && height)
        text += std::to_string(width) + "x" + std::to_string(height) + " pixels is ";
    else
        text += "the picture declares ";
    text += "more than the limit of " + std::to_string(limits.maxPixels) + " pixels";
    if (limits.raiseHint) text += std::string(" (") + limits.raiseHint + ")";
    return text;
}

bool tooLarge(uint64_t width, uint64_t height, const ReadLimits& limits) { return width * height > limits.maxPixels; }

struct PngError {
    std::jmp_buf jump;
    char message[200];
    bool overLimit;  // a side of the header is longer than the limit allows
};

[[noreturn]] void pngError(png_structp png, png_const_charp message) {
    auto* err = static_cast<PngError*>(png_get_error_ptr(png));
    std::snprintf(err->message, sizeof err->message, "%s", message);
    std::longjmp(err->jump, 1);
}

// The header check warns about each fault it finds before it fails.
void pngWarning(png_structp png, png_const_charp message) {
    if (std::strstr(message, "exceeds user limit")) static_cast<PngError*>(png_get_error_ptr(png))->overLimit = true;
}

enum class PngResult { Ok, Failed, TooLarge };

// Kept free of objects with destructors between setjmp and longjmp. The
// header is read and its size checked before anything is allocated for
// the pixels; libpng itself refuses a side longer than the whole limit.
PngResult readPngInto(FILE* f, Picture& out, PngError& err, const ReadLimits& limits, uint64_t size[2]) {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &err, pngError, pngWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info) {
        png_destroy_read_struct(&png, nullptr, nullptr);
        std::snprintf(err.message, sizeof err.message, "out of memory");
        return PngResult::Failed;
    }
    if (setjmp(err.jump)) {
        png_destroy_read_struct(&png, &info, nullptr);
        return err.overLimit ? PngResult::TooLarge : PngResult::Failed;
    }
    png_init_io(png, f);
    const auto side = static_cast<png_uint_32>(std::min<uint64_t>(limits.maxPixels, PNG_UINT_31_MAX));
    png_set_user_limits(png, side, side);
    png_read_info(png, info);
    size[0] = png_get_image_width(png, info);
    size[1] = png_get_image_height(png, info);
    if (tooLarge(size[0], size[1], limits)) {
        png_destroy_read_struct(&png, &info, nullptr);
        return PngResult::TooLarge;
    }
    const int colorType = png_get_color_type(png, info);
    const int bitDepth = png_get_bit_depth(png, info);
    // A transparent colour (tRNS) counts as alpha too; it is not expanded,
    // which drops it just like a stripped alpha channel.
    out.droppedAlpha = (colorType & PNG_COLOR_MASK_ALPHA) != 0 || png_get_valid(png, info, PNG_INFO_tRNS) != 0;
    if (colorType == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(png);
    if ((colorType & PNG_COLOR_MASK_COLOR) == 0) {
        if (bitDepth < 8) png_set_expand_gray_1_2_4_to_8(png);
        png_set_gray_to_rgb(png);
    }
    if (bitDepth == 16) png_set_scale_16(png);
    if (out.droppedAlpha) png_set_strip_alpha(png);
    png_set_bgr(png);
    const int passes = png_set_interlace_handling(png);
    png_read_update_info(png, info);
    out.width = static_cast<int32_t>(size[0]);
    out.height = static_cast<int32_t>(size[1]);
    const size_t rowBytes = static_cast<size_t>(out.width) * 3;
    if (png_get_rowbytes(png, info) != rowBytes) pngError(png, "unexpected row layout");
    out.bgr.resize(rowBytes * static_cast<size_t>(out.height));
    for (int pass = 0; pass < passes; ++pass)
        for (int32_t y = 0; y < out.height; ++y) png_read_row(png, out.bgr.data() + rowBytes * static_cast<size_t>(y), nullptr);
    png_read_end(png, nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
    return PngResult::Ok;
}

bool readPng(const std::string& path, Picture& out, std::string& error, const ReadLimits& limits) {
    File f(std::fopen(path.c_str(), "rb"));
    if (!f) {
        error = path + ": cannot open (" + std::strerror(errno) + ")";
        return false;
    }
    PngError err{};
    uint64_t size[2] = {0, 0};
    switch (readPngInto(f.get(), out, err, limits, size)) {
    case PngResult::Ok:
        return true;
    case PngResult::TooLarge:
        out = Picture{};
        error = sizeRefusal(path, size[0], size[1], limits);
        return false;
    case PngResult::Failed:
        break;
    }
    out = Picture{};
    error = path + ": not a readable PNG file (" + err.message + ")";
    return false;
}

struct JpegError {
    jpeg_error_mgr mgr;
    std::jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
    bool damaged;  // a warning said pixels are missing or garbled
};

void jpegErrorExit(j_common_ptr cinfo) {
    auto* err = reinterpret_cast<JpegError*>(cinfo->err);
    cinfo->err->format_message(cinfo, err->message);
    std::longjmp(err->jump, 1);
}

// The decoder only warns when a file ends early or its data is garbled, and
// then fills in grey; such a picture is refused rather than processed.
// Harmless warnings, such as stray bytes between markers, stay silent.
void jpegWarning(j_common_ptr cinfo, int level) {
    auto* err = reinterpret_cast<JpegError*>(cinfo->err);
    if (level >= 0 || err->damaged) return;
    const int code = cinfo->err->msg_code;
    if (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER || code == JWRN_HUFF_BAD_CODE || code == JWRN_MUST_RESYNC) {
        cinfo->err->format_message(cinfo, err->message);
        err->damaged = true;
    }
}

// Errors jump back to the caller's setjmp; damage warnings are recorded.
jpeg_error_mgr* jpegErrors(JpegError& err) {
    jpeg_error_mgr* mgr = jpeg_std_error(&err.mgr);
    mgr->error_exit = jpegErrorExit;
    mgr->emit_message = jpegWarning;
    return mgr;
}

// Kept free of objects with destructors between setjmp and longjmp.
bool readJpegInto(FILE* f, Picture& out, JpegError& err, const ReadLimits& limits, uint64_t size[2]) {
    jpeg_decompress_struct cinfo;
    cinfo.err = jpegErrors(err);
    if (setjmp(err.jump)) {
        jpeg_destroy_decompress(&cinfo);
        return false;
    }
    jpeg_create_decompress(&cinfo);
    jpeg_stdio_src(&cinfo, f);
    jpeg_read_header(&cinfo, TRUE);
    // Checked before the decompressor allocates its buffers, which for a
    // progressive file cover the whole declared picture.
    size[0] = cinfo.image_width;
    size[1] = cinfo.image_height;
    if (tooLarge(size[0], size[1], limits)) {
        jpeg_destroy_decompress(&cinfo);
        return false;
    }
    cinfo.out_color_space = JCS_EXT_BGR;
    jpeg_start_decompress(&cinfo);
    out.width = static_cast<int32_t>(cinfo.output_width);
    out.height = static_cast<int32_t>(cinfo.output_height);
    out.bgr.resize(static_cast<size_t>(out.width) * out.height * 3);
    while (cinfo.output_scanline < cinfo.output_height) {
        JSAMPROW row = out.bgr.data() + static_cast<size_t>(cinfo.output_scanline) * out.width * 3;
        jpeg_read_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_decompress(&cinfo);
    jpeg_destroy_decompress(&cinfo);
    return !err.damaged;
}

bool readJpeg(const std::string& path, Picture& out, std::string& error, const ReadLimits& limits) {
    File f(std::fopen(path.c_str(), "rb"));
    if (!f) {
        error = path + ": cannot open (" + std::strerror(errno) + ")";
        return false;
    }
    JpegError err{};
    uint64_t size[2] = {0, 0};
    if (!readJpegInto(f.get(), out, err, limits, size)) {
        const bool refused = tooLarge(size[0], size[1], limits);
        out = Picture{};
        error = refused ? sizeRefusal(path, size[0], size[1], limits)
                        : path + ": cannot decode JPEG (" + err.message + ")";
        return false;
    }
    return true;
}

bool writeJpegTo(FILE* f, const Picture& p, int quality, JpegError& err) {
    jpeg_compress_struct cinfo;
    cinfo.err = jpegErrors(err);
    if (setjmp(err.jump)) {
        jpeg_destroy_compress(&cinfo);
        return false;
    }
    jpeg_create_compress(&cinfo);
    jpeg_stdio_dest(&cinfo, f);
    cinfo.image_width = static_cast<JDIMENSION>(p.width);
    cinfo.image_height = static_cast<JDIMENSION>(p.height);
    cinfo.input_components = 3;
    cinfo.in_color_space = JCS_EXT_BGR;
    jpeg_set_defaults(&cinfo);
    jpeg_set_quality(&cinfo, quality, TRUE);
    jpeg_start_compress(&cinfo, TRUE);
    while (cinfo.next_scanline < cinfo.image_height) {
        JSAMPROW row = const_cast<uint8_t*>(p.bgr.data()) + static_cast<size_t>(cinfo.next_scanline) * p.width * 3;
        jpeg_write_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_compress(&cinfo);
    jpeg_destroy_compress(&cinfo);
    return true;
}

// Temporary files being written, so that a process stopped by a signal can
// remove them. A file is created and registered under one lock, so once
// the cleanup holds the lock no new one can appear.
class PartialFiles {
public:
    FILE* create(const std::string& path) {
        std::lock_guard<std::mutex> lock(mutex_);
        if (stopping_) {
            errno = EINTR;
            return nullptr;
        }
        FILE* f = std::fopen(path.c_str(), "wb");
        if (f) open_.insert(path);
        return f;
    }

    void forget(const std::string& path) {
        std::lock_guard<std::mutex> lock(mutex_);
        open_.erase(path);
    }

    size_t removeAllAndStop() {
        mutex_.lock();  // kept: the process ends next
        stopping_ = true;
        size_t removed = 0;
        for (const std::string& path : open_) removed += ::unlink(path.c_str()) == 0 ? 1 : 0;
        return removed;
    }

private:
    std::mutex mutex_;
    std::set<std::string> open_;
    bool stopping_ = false;
};

PartialFiles& partialFiles() {
    static PartialFiles files;
    return files;
}

bool writeTo(FILE* f, Format format, const Picture& p, int quality, std::string& error) {
    if (format == Format::Png) {
        png_image image;
        std::memset(&image, 0, sizeof image);
        image.version = PNG_IMAGE_VERSION;
        image.width = static_cast<png_uint_32>(p.width);
        image.height = static_cast<png_uint_32>(p.height);
        image.format = PNG_FORMAT_BGR;
        if (!png_image_write_to_stdio(&image, f, 0, p.bgr.data(), 0, nullptr)) {
            error = std::string("cannot write PNG (") + image.message + ")";
            return false;
        }
    } else {
        JpegError err{};
        if (!writeJpegTo(f, p, quality, err)) {
            error = std::string("cannot write JPEG (") + err.message + ")";
            return false;
        }
    }
    if (std::fflush(f) != 0 || std::ferror(f)) {
        error = std::string("write failed (") + std::strerror(errno) + ")";
        return false;
    }
    return true;
}

}  // namespace

Format formatFromPath(const std::string& path) {
    const std::string p = lower(path);
    if (endsWith(p, ".png")) return Format::Png;
    if (endsWith(p, ".jpg") || endsWith(p, ".jpeg")) return Format::Jpeg;
    return Format::Unknown;
}

bool readPicture(const std::string& path, Picture& out, std::string& error, const ReadLimits& limits) {
    out = Picture{};
    File f(std::fopen(path.c_str(), "rb"));
    if (!f) {
        error = path + ": cannot open (" + std::strerror(errno) + ")";
        return false;
    }
    unsigned char magic[8] = {};
    const size_t got = std::fread(magic, 1, sizeof magic, f.get());
    f.reset();
    if (got == sizeof magic && png_sig_cmp(magic, 0, sizeof magic) == 0) return readPng(path, out, error, limits);
    if (got >= 3 && magic[0] == 0xFF && magic[1] == 0xD8 && magic[2] == 0xFF) return readJpeg(path, out, error, limits);
    error = path + (got == 0 ? ": empty file" : ": not a PNG or JPEG file");
    return false;
}

bool writePicture(const std::string& path, const Picture& picture, int jpegQuality, std::string& error) {
    const Format format = formatFromPath(path);
    if (format == Format::Unknown) {
        error = path + ": unsupported output extension (use .png, .jpg or .jpeg)";
        return false;
    }
    if (picture.width < 1 || picture.height < 1 ||
        picture.bgr.size() != static_cast<size_t>(picture.width) * picture.height * 3) {
        error = path + ": nothing to write";
        return false;
    }
    const std::string tmp = path + ".part";
    File f(partialFiles().create(tmp));
    if (!f) {
        error = path + ": cannot open for writing (" + std::strerror(errno) + ")";
        return false;
    }
    std::string why;
    bool ok = writeTo(f.get(), format, picture, jpegQuality, why);
    if (std::fclose(f.release()) != 0 && ok) {
        why = std::string("write failed (") + std::strerror(errno) + ")";
        ok = false;
    }
    if (ok && std::rename(tmp.c_str(), path.c_str()) != 0) {
        why = std::string("cannot write (") + std::strerror(errno) + ")";
        ok = false;
    }
    if (!ok) {
        std::remove(tmp.c_str());
        error = path + ": " + why;
    }
    partialFiles().forget(tmp);
    return ok;
}

size_t removePartialOutputsForExit() { return partialFiles().removeAllAndStop(); }

}  // namespace oxio
