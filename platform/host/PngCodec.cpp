// Palette PNG through libpng. Contract: decoding reads only the bytes given, refuses
// any colour type but 3 and any image whose pixel count outgrows what its compressed
// data could hold, and returns 0 on every libpng error (longjmp back to one frame
// that holds no C++ objects); encoding writes IHDR, PLTE, IDAT and IEND only, with
// fixed settings, so the same image always gives the same bytes.
#include "platform/host/PngCodec.h"

#include <cstring>

#if defined(ZEVUTIL_HAVE_PNG)
#include <png.h>

#include <csetjmp>
#endif

namespace zev::host {

#if defined(ZEVUTIL_HAVE_PNG)
namespace {

// Largest side and largest pixel count taken from a file.
constexpr png_uint_32 kMaxSide = 65535;
constexpr std::uint64_t kMaxPixels = 1ull << 28;
// deflate expands at most 1032:1; a bit depth of 1 packs eight pixels per byte.
constexpr std::uint64_t kMaxExpansion = 1032ull * 8;

struct MemoryReader {
  const std::uint8_t* data;
  std::size_t size;
  std::size_t pos;
};

void ReadFromMemory(png_structp png, png_bytep out, png_size_t n) {
  auto* r = static_cast<MemoryReader*>(png_get_io_ptr(png));
  if (n > r->size - r->pos) png_error(png, "read past the end of the data");
  std::memcpy(out, r->data + r->pos, n);
  r->pos += n;
}

void WriteToVector(png_structp png, png_bytep in, png_size_t n) {
  auto* v = static_cast<std::vector<std::uint8_t>*>(png_get_io_ptr(png));
  v->insert(v->end(), in, in + n);
}

void FlushNothing(png_structp) {}
void IgnoreWarning(png_structp, png_const_charp) {}
// Errors return to the decoding or encoding frame quietly: the caller reports 0.
void QuietError(png_structp png, png_const_charp) { png_longjmp(png, 1); }

// The libpng part of decoding. Rows go into storage the caller sized from the header
// read by the first call (stage 1); stage 2 decodes into it.
int DecodeStage(png_structp png, png_infop info, PalettePngImage* image, std::vector<png_bytep>* rows, int stage) {
  if (setjmp(png_jmpbuf(png))) return 0;
  if (stage == 1) {
    png_read_info(png, info);
    png_uint_32 w = 0, h = 0;
    int depth = 0, type = 0, interlace = 0;
    png_get_IHDR(png, info, &w, &h, &depth, &type, &interlace, nullptr, nullptr);
    if (type != PNG_COLOR_TYPE_PALETTE) return 0;
    png_colorp plte = nullptr;
    int n = 0;
    if (!png_get_PLTE(png, info, &plte, &n) || n < 1 || n > 256) return 0;
    image->width = int(w);
    image->height = int(h);
    image->palette.resize(std::size_t(n) * 3);
    for (int i = 0; i < n; ++i) {
      image->palette[std::size_t(i) * 3] = plte[i].red;
      image->palette[std::size_t(i) * 3 + 1] = plte[i].green;
      image->palette[std::size_t(i) * 3 + 2] = plte[i].blue;
    }
    if (depth < 8) png_set_packing(png);
    if (interlace != PNG_INTERLACE_NONE) png_set_interlace_handling(png);
    png_read_update_info(png, info);
    if (png_get_rowbytes(png, info) != w) return 0;
    return 1;
  }
  png_read_image(png, rows->data());
  png_read_end(png, nullptr);
  return 1;
}

int EncodeStage(png_structp png, png_infop info, const PalettePngImage* image, std::vector<png_bytep>* rows,
                png_colorp plte, int n) {
  if (setjmp(png_jmpbuf(png))) return 0;
  png_set_IHDR(png, info, png_uint_32(image->width), png_uint_32(image->height), 8, PNG_COLOR_TYPE_PALETTE,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_PLTE(png, info, plte, n);
  png_set_compression_level(png, 6);
  png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
  png_write_info(png, info);
  png_write_image(png, rows->data());
  png_write_end(png, nullptr);
  return 1;
}

}  // namespace

bool PngSupported() { return true; }

int DecodePalettePng(const std::uint8_t* data, std::size_t size, PalettePngImage& image) {
  image = PalettePngImage{};
  if (!data || size < 8 || png_sig_cmp(data, 0, 8) != 0) return 0;
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, QuietError, IgnoreWarning);
  if (!png) return 0;
  png_infop info = png_create_info_struct(png);
  if (!info) {
    png_destroy_read_struct(&png, nullptr, nullptr);
    return 0;
  }
  png_set_user_limits(png, kMaxSide, kMaxSide);
  png_set_chunk_malloc_max(png, 8u << 20);
  png_set_crc_action(png, PNG_CRC_DEFAULT, PNG_CRC_DEFAULT);
  MemoryReader reader{data, size, 0};
  png_set_read_fn(png, &reader, ReadFromMemory);
  std::vector<png_bytep> rows;
  int ok = DecodeStage(png, info, &image, &rows, 1);
  if (ok) {
    const std::uint64_t pixels = std::uint64_t(image.width) * std::uint64_t(image.height);
    if (image.width < 1 || image.height < 1 || pixels > kMaxPixels || pixels > std::uint64_t(size) * kMaxExpansion) {
      ok = 0;
    } else {
      image.pixels.assign(std::size_t(pixels), 0);
      rows.resize(std::size_t(image.height));
      for (int y = 0; y < image.height; ++y) rows[std::size_t(y)] = image.pixels.data() + std::size_t(y) * image.width;
      ok = DecodeStage(png, info, &image, &rows, 2);
    }
  }
  png_destroy_read_struct(&png, &info, nullptr);
  if (!ok) image = PalettePngImage{};
  return ok;
}

int EncodePalettePng(const PalettePngImage& image, std::vector<std::uint8_t>& out) {
  out.clear();
  const int n = int(image.palette.size() / 3);
  if (image.width < 1 || image.height < 1 || n < 1 || n > 256 ||
      image.pixels.size() != std::size_t(image.width) * std::size_t(image.height))
    return 0;
  png_color plte[256];
  for (int i = 0; i < n; ++i)
    plte[i] = png_color{image.palette[std::size_t(i) * 3], image.palette[std::size_t(i) * 3 + 1],
                        image.palette[std::size_t(i) * 3 + 2]};
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, QuietError, IgnoreWarning);
  if (!png) return 0;
  png_infop info = png_create_info_struct(png);
  if (!info) {
    png_destroy_write_struct(&png, nullptr);
    return 0;
  }
  png_set_write_fn(png, &out, WriteToVector, FlushNothing);
  std::vector<png_bytep> rows(std::size_t(image.height));
  for (int y = 0; y < image.height; ++y)
    rows[std::size_t(y)] = const_cast<png_bytep>(image.pixels.data()) + std::size_t(y) * image.width;
  int ok = EncodeStage(png, info, &image, &rows, plte, n);
  png_destroy_write_struct(&png, &info);
  if (!ok) out.clear();
  return ok;
}

#else  // built without libpng: palette PNG is not supported

bool PngSupported() { return false; }
int DecodePalettePng(const std::uint8_t*, std::size_t, PalettePngImage& image) {
  image = PalettePngImage{};
  return 0;
}
int EncodePalettePng(const PalettePngImage&, std::vector<std::uint8_t>& out) {
  out.clear();
  return 0;
}

#endif

}  // namespace zev::host
