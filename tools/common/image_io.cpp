#include "image_io.hpp"

#include <cctype>
#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>

#include <jpeglib.h>
// jerror.h needs jpeglib.h first.
#include <jerror.h>
#include <png.h>

#include "core/detail/size.hpp"

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

// Pictures larger than this are refused rather than allocated: a corrupt
// header must not ask for gigabytes.
constexpr int64_t kMaxPixels = int64_t{1} << 28;

// Bytes of a picture of the given sides and channels, or 0 when it is
// larger than the tools take.
size_t pictureBytes(uint32_t width, uint32_t height, int64_t channels) {
    const ox::detail::Count pixels = ox::detail::checkedProduct({width, height});
    if (!pixels || *pixels > kMaxPixels) return 0;
    return ox::detail::sizeOrZero(ox::detail::checkedProduct({*pixels, channels}));
}

bool readPng(const std::string& path, Picture& out, std::string& error) {
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str())) {
        error = path + ": not a readable PNG file (" + image.message + ")";
        return false;
    }
    const bool hasAlpha = (image.format & PNG_FORMAT_FLAG_ALPHA) != 0;
    const size_t bytes = pictureBytes(image.width, image.height, hasAlpha ? 4 : 3);
    if (bytes == 0) {
        png_image_free(&image);
        error = path + ": picture too large";
        return false;
    }
    // Alpha is dropped, not composited: read with it, then strip it.
    image.format = hasAlpha ? PNG_FORMAT_BGRA : PNG_FORMAT_BGR;
    std::vector<uint8_t> pixels(bytes);
    if (!png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr)) {
        error = path + ": corrupt PNG data (" + image.message + ")";
        png_image_free(&image);
        return false;
    }
    out.width = static_cast<int32_t>(image.width);
    out.height = static_cast<int32_t>(image.height);
    out.droppedAlpha = hasAlpha;
    if (!hasAlpha) {
        out.bgr = std::move(pixels);
        return true;
    }
    const size_t n = static_cast<size_t>(out.width) * out.height;
    out.bgr.resize(n * 3);
    for (size_t i = 0; i < n; ++i) std::memcpy(&out.bgr[i * 3], &pixels[i * 4], 3);
    return true;
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
bool readJpegInto(FILE* f, Picture& out, JpegError& err) {
    jpeg_decompress_struct cinfo;
    cinfo.err = jpegErrors(err);
    if (setjmp(err.jump)) {
        jpeg_destroy_decompress(&cinfo);
        return false;
    }
    jpeg_create_decompress(&cinfo);
    jpeg_stdio_src(&cinfo, f);
    jpeg_read_header(&cinfo, TRUE);
    cinfo.out_color_space = JCS_EXT_BGR;
    jpeg_start_decompress(&cinfo);
    const size_t bytes = pictureBytes(cinfo.output_width, cinfo.output_height, 3);
    if (bytes == 0) {
        std::snprintf(err.message, sizeof err.message, "picture too large");
        jpeg_destroy_decompress(&cinfo);
        return false;
    }
    out.width = static_cast<int32_t>(cinfo.output_width);
    out.height = static_cast<int32_t>(cinfo.output_height);
    out.bgr.resize(bytes);
    while (cinfo.output_scanline < cinfo.output_height) {
        JSAMPROW row = out.bgr.data() + static_cast<size_t>(cinfo.output_scanline) * out.width * 3;
        jpeg_read_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_decompress(&cinfo);
    jpeg_destroy_decompress(&cinfo);
    return !err.damaged;
}

bool readJpeg(const std::string& path, Picture& out, std::string& error) {
    File f(std::fopen(path.c_str(), "rb"));
    if (!f) {
        error = path + ": cannot open (" + std::strerror(errno) + ")";
        return false;
    }
    JpegError err{};
    if (!readJpegInto(f.get(), out, err)) {
        error = path + ": cannot decode JPEG (" + err.message + ")";
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

bool writeTemp(const std::string& tmp, Format format, const Picture& p, int quality, std::string& error) {
    if (format == Format::Png) {
        png_image image;
        std::memset(&image, 0, sizeof image);
        image.version = PNG_IMAGE_VERSION;
        image.width = static_cast<png_uint_32>(p.width);
        image.height = static_cast<png_uint_32>(p.height);
        image.format = PNG_FORMAT_BGR;
        if (!png_image_write_to_file(&image, tmp.c_str(), 0, p.bgr.data(), 0, nullptr)) {
            error = std::string("cannot write PNG (") + image.message + ")";
            return false;
        }
        return true;
    }
    File f(std::fopen(tmp.c_str(), "wb"));
    if (!f) {
        error = std::string("cannot open for writing (") + std::strerror(errno) + ")";
        return false;
    }
    JpegError err{};
    if (!writeJpegTo(f.get(), p, quality, err)) {
        error = std::string("cannot write JPEG (") + err.message + ")";
        return false;
    }
    if (std::fflush(f.get()) != 0 || std::ferror(f.get())) {
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

bool readPicture(const std::string& path, Picture& out, std::string& error) {
    out = Picture{};
    File f(std::fopen(path.c_str(), "rb"));
    if (!f) {
        error = path + ": cannot open (" + std::strerror(errno) + ")";
        return false;
    }
    unsigned char magic[8] = {};
    const size_t got = std::fread(magic, 1, sizeof magic, f.get());
    f.reset();
    if (got == sizeof magic && png_sig_cmp(magic, 0, sizeof magic) == 0) return readPng(path, out, error);
    if (got >= 3 && magic[0] == 0xFF && magic[1] == 0xD8 && magic[2] == 0xFF) return readJpeg(path, out, error);
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
    std::string why;
    if (!writeTemp(tmp, format, picture, jpegQuality, why)) {
        std::remove(tmp.c_str());
        error = path + ": " + why;
        return false;
    }
    if (std::rename(tmp.c_str(), path.c_str()) != 0) {
        error = path + ": cannot write (" + std::strerror(errno) + ")";
        std::remove(tmp.c_str());
        return false;
    }
    return true;
}

}  // namespace oxio
