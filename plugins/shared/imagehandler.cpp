#include "shared/imagehandler.h"

#include "shared/colorinput.h"
#include "shared/device.h"
#include "shared/rowreader.h"
#include "shared/source.h"
#include "shared/texts.h"
#include <vellum/vellum.h>

#include <QTransform>
#include <QVariant>

#include <algorithm>
#include <limits>

namespace vellum::plugin {

namespace {

using Transformations = QImageIOHandler::Transformations;

/// Above it the gamma of a writer asks for the size only.
constexpr float kSizeOnlyGamma = 9;

/// The widest row that an image can have, in the largest pixels there are. The bytes of any number
/// of rows can be counted in 64 bits.
constexpr int kWidest = std::numeric_limits<int>::max() / 8;

StoredColors storedColors(unsigned int inputColors)
{
    if (inputColors == 0)
        return StoredColors::AsDecoded;
    return isCmykInput(inputColors) ? StoredColors::Cmyk : StoredColors::Lab;
}

Encoding encodingFor(const WriteSource &source, const Encoder &encoder)
{
    if (source.wantsCmyk() && encoder.takesCmyk())
        return Encoding::Cmyk8;
    const Encoding encoding =
        encoder.encodingFor(source.naturalEncoding(encoder.takesTranslucentTables()));
    const bool areGreysAsRgb = encoding == Encoding::Rgb8 && source.hasGreyTable();
    return areGreysAsRgb ? encoder.encodingFor(Encoding::Gray8) : encoding;
}

QImage transformed(const QImage &image, Transformations how)
{
    if (how == QImageIOHandler::TransformationRotate270)
        return image.transformed(QTransform().rotate(270));
    const QImage turned = image.mirrored(how & QImageIOHandler::TransformationMirror,
                                         how & QImageIOHandler::TransformationFlip);
    return how & QImageIOHandler::TransformationRotate90
        ? turned.transformed(QTransform().rotate(90))
        : turned;
}

Vellum transformed(const Vellum &image, Transformations how)
{
    if (how == QImageIOHandler::TransformationRotate270)
        return quarterTurned(image, 3);
    const Vellum turned = mirrored(image, how & QImageIOHandler::TransformationMirror,
                                   how & QImageIOHandler::TransformationFlip);
    return how & QImageIOHandler::TransformationRotate90 ? quarterTurned(turned, 1) : turned;
}

} // namespace

ImageHandler::ImageHandler(const QLoggingCategory &category, const QSet<ImageOption> &options)
    : m_category(category),
      m_options(options +
                QSet<ImageOption> {Size, ImageFormat, ClipRect, ScaledSize, ScaledClipRect, Gamma,
                                   ImageTransformation})
{
    if (m_options.contains(SubType))
        m_options.insert(SupportedSubTypes);
}

QList<QByteArray> ImageHandler::subTypes() const { return {}; }

QVector<const QImage *> ImageHandler::pagesOf(const QImage &image) const { return {&image}; }

bool ImageHandler::canRead() const
{
    if (m_state == State::HeaderRead)
        return true;
    return device() && device()->isReadable() && recognises(*device());
}

bool ImageHandler::ensureHeader() const
{
    if (m_state == State::HeaderRead)
        return true;
    if (m_state == State::Failed || !canRead())
        return false;
    Picture picture;
    m_fileBytes = bytesLeft(*device());
    m_decoder = makeDecoder(*device());
    const bool isRead = m_decoder && m_decoder->readHeader(picture) && !picture.size.isEmpty() &&
        picture.size.width() <= kWidest && picture.format != QImage::Format_Invalid;
    m_state = isRead ? State::HeaderRead : State::Failed;
    m_picture = isRead ? picture : Picture();
    if (!isRead)
        m_decoder.reset();
    return isRead;
}

Decoder *ImageHandler::decoder() { return ensureHeader() ? m_decoder.get() : nullptr; }

const Picture *ImageHandler::picture() const
{
    return m_state == State::PixelsRead || ensureHeader() ? &m_picture : nullptr;
}

void ImageHandler::forgetHeader()
{
    m_decoder.reset();
    m_state = State::Fresh;
}

bool ImageHandler::read(QImage *image)
{
    m_rowsRead = 0;
    if (!image || !ensureHeader())
        return false;
    ReadTarget target(image);
    ReadRequest request = m_request;
    request.keepDamaged = target.readOptions() & KeepDamaged;
    m_decoder->obey(target.readOptions(), m_picture);
    RowReader reader(*m_decoder, m_picture, request, m_fileBytes);
    const ReadResult result = reader.read(target);
    m_rowsRead = reader.rowsRead();
    if (result == ReadResult::Refused)
        qCWarning(m_category).noquote() << reader.problem();
    if (result == ReadResult::Complete) {
        m_decoder->readEnd(m_picture);
        target.describe(m_picture);
    }
    m_decoder.reset();
    m_state = State::PixelsRead;
    return result == ReadResult::Complete || (result == ReadResult::Damaged && request.keepDamaged);
}

bool ImageHandler::write(const QImage &image)
{
    if (image.isNull())
        return false;
    if (m_gamma > kSizeOnlyGamma) {
        CountingDevice counter;
        if (!writePages(image, counter))
            return false;
        m_encodedSize = counter.size();
        return true;
    }
    return device() && device()->isWritable() && writePages(image, *device());
}

bool ImageHandler::writePages(const QImage &image, QIODevice &device) const
{
    const std::unique_ptr<Encoder> encoder = makeEncoder(device, m_writeOptions);
    if (!encoder)
        return false;
    const QVector<const QImage *> pages = pagesOf(image);
    encoder->announce(pages);
    const auto write = [&](const QImage *page) { return writeTransformed(*page, *encoder); };
    return std::all_of(pages.begin(), pages.end(), write) && encoder->finish();
}

bool ImageHandler::writeTransformed(const QImage &image, Encoder &encoder) const
{
    if (m_transformation == TransformationNone)
        return encode(image, encoder);
    if (const Vellum *const vellum = Vellum::getVellum(const_cast<QImage *>(&image)))
        return encode(transformed(*vellum, m_transformation), encoder);
    return encode(transformed(image, m_transformation), encoder);
}

bool ImageHandler::encode(const QImage &image, Encoder &encoder) const
{
    if (image.isNull()) // the memory for turning it was lacking, or a page has no pixels
        return false;
    WriteSource source(image);
    const Encoding encoding = encodingFor(source, encoder);
    if (!source.prepare(encoding, encoder.takesProfile())) {
        qCWarning(m_category, "there is no CMYK profile to write with");
        return false;
    }
    if (!encoder.writeHeader(source.picture(m_description), encoding))
        return false;
    const bool bottomUp = encoder.bottomUp();
    for (int i = 0; i < image.height(); ++i) {
        const int y = bottomUp ? image.height() - 1 - i : i;
        const uchar *const row = bottomUp ? source.rowFromBelow(y) : source.row(y);
        if (!row || !encoder.writeRow(row, source.extra(y)))
            return false;
    }
    return encoder.writeEnd();
}

QImage::Format ImageHandler::readFormat() const
{
    if (!ensureHeader())
        return QImage::Format_Invalid;
    return RowReader(*m_decoder, m_picture, m_request, m_fileBytes).plan();
}

RowOrder ImageHandler::readOrder() const
{
    if (!ensureHeader())
        return RowOrder::None;
    RowReader reader(*m_decoder, m_picture, m_request, m_fileBytes);
    if (reader.plan() == QImage::Format_Invalid || !reader.comesRowByRow(m_picture))
        return RowOrder::None;
    return m_picture.bottomUp ? RowOrder::BottomUp : RowOrder::TopDown;
}

RowOrder ImageHandler::writeOrder() const
{
    const std::unique_ptr<Encoder> encoder =
        device() ? makeEncoder(*device(), m_writeOptions) : nullptr;
    if (!encoder || m_transformation != TransformationNone)
        return RowOrder::None;
    return encoder->bottomUp() ? RowOrder::BottomUp : RowOrder::TopDown;
}

bool ImageHandler::supportsOption(ImageOption option) const
{
    return m_options.contains(option) || (option >= kStoredResolution && option <= kRowsRead);
}

QVariant ImageHandler::option(ImageOption option) const
{
    if (!supportsOption(option))
        return {};
    if (option >= kStoredResolution && option <= kStoredProfile)
        return storedFact(option);
    if (option == kRowsRead)
        return m_rowsRead;
    if (option == kEncodedSize)
        return m_encodedSize;
    if (option == kReadOrder)
        return int(readOrder());
    if (option == kReadFormat)
        return int(readFormat());
    if (option == kWriteOrder)
        return int(writeOrder());
    switch (option) {
    case Gamma:
        return m_encodedSize >= 0 ? float(m_encodedSize) : m_gamma;
    case Quality:
        return m_writeOptions.quality;
    case CompressionRatio:
        return m_writeOptions.compression;
    case OptimizedWrite:
        return m_writeOptions.optimized;
    case ProgressiveScanWrite:
        return m_writeOptions.progressive;
    case SupportedSubTypes:
        return QVariant::fromValue(subTypes());
    case ClipRect:
        return m_request.clip;
    case ScaledSize:
        return m_request.scaled;
    case ScaledClipRect:
        return m_request.scaledClip;
    default:
        return fromHeader(option);
    }
}

/// What only a file can tell.
QVariant ImageHandler::storedFact(ImageOption option) const
{
    const Picture *const header = picture();
    if (!header)
        return {};
    if (option == kStoredProfile)
        return header->icc;
    if (option == kStoredColors)
        return int(storedColors(header->inputColors));
    return QSize(header->dotsPerMeterX, header->dotsPerMeterY);
}

/// What a file tells, or what was set when there is none to read.
QVariant ImageHandler::fromHeader(ImageOption option) const
{
    const Picture *const header = picture();
    switch (option) {
    case Size:
        return header ? header->size : QVariant();
    case ImageFormat:
        return header ? header->format : QVariant();
    case Description:
        return header ? describe(header->texts) : m_description;
    case SubType:
        return header ? header->subType : m_writeOptions.subType;
    case ImageTransformation:
        return int(header ? header->transformation : m_transformation);
    default:
        return {};
    }
}

void ImageHandler::setOption(ImageOption option, const QVariant &value)
{
    if (!supportsOption(option))
        return;
    switch (option) {
    case ClipRect:
        m_request.clip = value.toRect();
        break;
    case ScaledSize:
        m_request.scaled = value.toSize();
        break;
    case ScaledClipRect:
        m_request.scaledClip = value.toRect();
        break;
    case Quality:
        m_writeOptions.quality = value.toInt();
        break;
    case CompressionRatio:
        m_writeOptions.compression = value.toInt();
        break;
    case OptimizedWrite:
        m_writeOptions.optimized = value.toBool();
        break;
    case ProgressiveScanWrite:
        m_writeOptions.progressive = value.toBool();
        break;
    case SubType:
        m_writeOptions.subType = value.toByteArray();
        break;
    case Description:
        m_description = value.toString();
        break;
    case Gamma:
        m_gamma = value.toFloat();
        m_encodedSize = -1;
        break;
    case ImageTransformation:
        m_transformation = Transformations(value.toInt());
        break;
    default:
        break;
    }
}

} // namespace vellum::plugin
