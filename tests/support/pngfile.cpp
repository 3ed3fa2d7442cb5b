#include <QtEndian>

#include <random>
#include <support/pngfile.h>
#include <vector>
#include <zlib.h>

namespace vellum::test {

namespace {

void append(png_structp png, png_bytep data, size_t bytes)
{
    static_cast<QByteArray *>(png_get_io_ptr(png))
        ->append(reinterpret_cast<const char *>(data), int(bytes));
}

void addPalette(png_structp png, png_infop info, const PngFile &file)
{
    std::vector<png_color> colors(size_t(1) << file.depth);
    std::vector<png_byte> alphas;
    for (size_t i = 0; i < colors.size(); ++i) {
        colors[i] = {png_byte(i * 7), png_byte(255 - i), png_byte(i * 31)};
        alphas.push_back(png_byte(i * 13));
    }
    png_set_PLTE(png, info, colors.data(), int(colors.size()));
    if (file.transparent)
        png_set_tRNS(png, info, alphas.data(), int(alphas.size()) / 2, nullptr);
}

} // namespace

QByteArray makePng(const PngFile &file)
{
    QByteArray bytes;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(png, &bytes, append, [](png_structp) {});
    png_set_IHDR(png, info, png_uint_32(file.size.width()), png_uint_32(file.size.height()),
                 file.depth, file.type, file.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (file.type == PNG_COLOR_TYPE_PALETTE) {
        addPalette(png, info, file);
    } else if (file.transparent) {
        const png_color_16 key = {0, 1, 1, 1, 1};
        png_set_tRNS(png, info, nullptr, 0, &key);
    }
    if (file.addChunks)
        file.addChunks(png, info);
    png_write_info(png, info);

    std::mt19937 random(file.seed);
    const size_t rowBytes = png_get_rowbytes(png, info);
    std::vector<std::vector<png_byte>> rows(size_t(file.size.height()));
    for (auto &row : rows) {
        row.resize(rowBytes);
        for (png_byte &byte : row)
            byte = png_byte(random() % 4 == 0 ? 1 : random() >> 24);
    }
    std::vector<png_bytep> pointers;
    for (auto &row : rows)
        pointers.push_back(row.data());
    png_write_image(png, pointers.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return bytes;
}

QByteArray pngChunk(const QByteArray &kindAndContent)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(quint32(kindAndContent.size() - 4), bytes.data());
    bytes += kindAndContent;
    const uLong crc = crc32(0, reinterpret_cast<const Bytef *>(kindAndContent.constData()),
                            static_cast<uInt>(kindAndContent.size()));
    QByteArray sum(4, '\0');
    qToBigEndian(quint32(crc), sum.data());
    return bytes + sum;
}

} // namespace vellum::test
