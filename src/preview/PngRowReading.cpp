#include "preview/PngRowReading.h"

#include "core/FileDescriptor.h"

#include <QFile>

#include <png.h>

#include <csetjmp>
#include <vector>

namespace PngRowReading {

namespace {

void readFromFile(png_structp png, png_bytep data, png_size_t length) {
    auto* file = static_cast<QFile*>(png_get_io_ptr(png));
    if (file->read(reinterpret_cast<char*>(data), qint64(length)) != qint64(length)) {
        png_error(png, "cut short");
    }
}

// Everything the decoding touches lives here, made before libpng may jump
// back out of an error, so that nothing is left half built on the way.
struct Decode {
    QFile file;
    QImage out;
    std::vector<png_byte> row;
    std::vector<quint64> sums;
    std::vector<quint32> counts;
    int outRow = 0;
    // An interlaced picture comes in seven passes over the whole area: its
    // sums are kept for every output pixel until the last pass.
    std::vector<quint32> areaSums;
    std::vector<quint32> areaCounts;
};

// Writes the means gathered for one output row.
void flushRow(Decode& d) {
    uchar* line = d.out.scanLine(d.outRow);
    for (int x = 0; x < d.out.width(); ++x) {
        const quint32 n = std::max<quint32>(1, d.counts[size_t(x)]);
        for (int c = 0; c < 4; ++c) {
            line[x * 4 + c] = uchar(d.sums[size_t(x) * 4 + c] / n);
        }
    }
    std::fill(d.sums.begin(), d.sums.end(), 0);
    std::fill(d.counts.begin(), d.counts.end(), 0);
}

void addRow(Decode& d, int width) {
    const int outWidth = d.out.width();
    for (int x = 0; x < width; ++x) {
        const size_t to = size_t(qint64(x) * outWidth / width);
        for (int c = 0; c < 4; ++c) {
            d.sums[to * 4 + c] += d.row[size_t(x) * 4 + c];
        }
        ++d.counts[to];
    }
}

constexpr png_alloc_size_t kChunkLimit = 8 << 20;
constexpr png_byte kIgnoredChunks[] = "tEXt\0zTXt\0iTXt\0iCCP\0sPLT\0eXIf\0";

// A damaged picture is no picture: nothing is printed, the read just ends.
void failQuietly(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}
void warnQuietly(png_structp, png_const_charp) {}

// Asks libpng for 8-bit RGBA whatever the stored form.
void askForRgba(png_structp png, png_infop info) {
    png_set_expand(png);
    png_set_strip_16(png);
    png_set_gray_to_rgb(png);
    png_set_add_alpha(png, 0xff, PNG_FILLER_AFTER);
    png_read_update_info(png, info);
}

// Adam7: each pass is a small picture of its own whose pixels stand at
// known places of the whole; each is added to the output pixel it falls in.
void decodePasses(Decode& d, png_structp png, png_uint_32 width, png_uint_32 height) {
    const qint64 outWidth = d.out.width();
    const qint64 outHeight = d.out.height();
    d.areaSums.assign(size_t(outWidth * outHeight) * 4, 0);
    d.areaCounts.assign(size_t(outWidth * outHeight), 0);
    for (int pass = 0; pass < 7; ++pass) {
        const png_uint_32 columns = PNG_PASS_COLS(width, pass);
        const png_uint_32 rows = PNG_PASS_ROWS(height, pass);
        if (columns == 0) {
            continue;
        }
        for (png_uint_32 r = 0; r < rows; ++r) {
            png_read_row(png, d.row.data(), nullptr);
            const qint64 y = PNG_ROW_FROM_PASS_ROW(r, pass) * outHeight / height;
            for (png_uint_32 c = 0; c < columns; ++c) {
                const qint64 x = PNG_COL_FROM_PASS_COL(c, pass) * outWidth / width;
                const size_t at = size_t(y * outWidth + x);
                for (int k = 0; k < 4; ++k) {
                    d.areaSums[at * 4 + k] += d.row[size_t(c) * 4 + k];
                }
                ++d.areaCounts[at];
            }
        }
    }
    for (qint64 y = 0; y < outHeight; ++y) {
        uchar* line = d.out.scanLine(int(y));
        for (qint64 x = 0; x < outWidth; ++x) {
            const size_t at = size_t(y * outWidth + x);
            const quint32 n = std::max<quint32>(1, d.areaCounts[at]);
            for (int k = 0; k < 4; ++k) {
                line[x * 4 + k] = uchar(d.areaSums[at * 4 + k] / n);
            }
        }
    }
}

bool decodeRows(Decode& d, png_structp png, png_infop info) {
    if (setjmp(png_jmpbuf(png))) {
        return false;
    }
    png_set_read_fn(png, &d.file, readFromFile);
    // A text, profile or palette-suggestion chunk may announce gigabytes:
    // they say nothing the picture needs, so they are passed over unread.
    png_set_chunk_malloc_max(png, kChunkLimit);
    png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, kIgnoredChunks,
                                int(sizeof kIgnoredChunks / 5));
    png_read_info(png, info);
    const png_uint_32 width = png_get_image_width(png, info);
    const png_uint_32 height = png_get_image_height(png, info);
    if (width == 0 || height == 0) {
        return false;
    }
    askForRgba(png, info);
    if (png_get_rowbytes(png, info) != png_size_t(width) * 4) {
        return false;
    }
    d.row.resize(size_t(width) * 4);
    if (png_get_interlace_type(png, info) != PNG_INTERLACE_NONE) {
        decodePasses(d, png, width, height);
        return true;
    }
    for (png_uint_32 y = 0; y < height; ++y) {
        png_read_row(png, d.row.data(), nullptr);
        const int to = int(qint64(y) * d.out.height() / height);
        if (to != d.outRow) {
            flushRow(d);
            d.outRow = to;
        }
        addRow(d, int(width));
    }
    flushRow(d);
    return true;
}

} // namespace

QImage readScaled(const QString& path, const QSize& size) {
    if (size.isEmpty()) {
        return {};
    }
    Decode d;
    auto opened = FileDescriptor::openRegularFile(path);
    if (!opened || !d.file.open(opened->get(), QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        return {};
    }
    opened->release();
    d.out = QImage(size, QImage::Format_RGBA8888);
    if (d.out.isNull()) {
        return {};
    }
    d.sums.assign(size_t(size.width()) * 4, 0);
    d.counts.assign(size_t(size.width()), 0);
    png_structp png =
        png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, failQuietly, warnQuietly);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    const bool decoded = info && decodeRows(d, png, info);
    png_destroy_read_struct(&png, info ? &info : nullptr, nullptr);
    return decoded ? d.out : QImage();
}

} // namespace PngRowReading
