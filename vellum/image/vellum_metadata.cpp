// QImage's metadata setters for images whose pixels must not be copied along.

#include <vellum/image/imagedata_p.h>
#include <vellum/image/rowstore_p.h>
#include <vellum/image/vellum.h>

#include <QColorSpace>
#include <QScopeGuard>

using vellum::image::releaseData;

namespace {

void releaseOwner(void *data) { releaseData(static_cast<QImageData *>(data)); }

} // namespace

/// Gives a shared big image metadata of its own, over the same base.
///
/// QImage's own setters would copy the base, which has the nominal size of the image, and so part
/// the image from the data that its store belongs to. The new data refers to the old base and
/// keeps the data that owns it alive.
void Vellum::partMetadata()
{
    QImageData *const shared = QImageData::get(*this);
    if (!m_rowBlocks || !shared || shared->ref.loadAcquire() < 2)
        return;

    // Refer to the owner itself, not to another that refers to it: no chains.
    const bool refers = shared->cleanupFunction == releaseOwner;
    auto *const owner = refers ? static_cast<QImageData *>(shared->cleanupInfo) : shared;
    owner->ref.ref();

    auto *const own = new QImageData;
    own->ref.ref();
    own->width = shared->width;
    own->height = shared->height;
    own->depth = shared->depth;
    own->nbytes = shared->nbytes;
    own->devicePixelRatio = shared->devicePixelRatio;
    own->colortable = shared->colortable;
    own->data = shared->data;
    own->format = shared->format;
    own->bytes_per_line = shared->bytes_per_line;
    own->dpmx = shared->dpmx;
    own->dpmy = shared->dpmy;
    own->offset = shared->offset;
    own->own_data = false;
    // A plain image's pixels may be the base; QImage must copy them before it writes.
    own->ro_data = shared->ro_data || owner->own_data;
    own->has_alpha_clut = shared->has_alpha_clut;
    own->cleanupFunction = releaseOwner;
    own->cleanupInfo = owner;
    own->text = shared->text;
    own->colorSpace = shared->colorSpace;

    data_ptr() = own;
    releaseData(shared);
}

/// Calls one of QImage's setters so that it changes the metadata of a big image and no more.
template <typename Setter>
auto Vellum::withOwnMetadata(Setter setter)
{
    partMetadata();
    QImageData *const data = m_rowBlocks ? QImageData::get(*this) : nullptr;
    // QImage also copies pixels that are not its to write; ours are elsewhere.
    const bool readOnly = data && data->ro_data;
    if (readOnly)
        data->ro_data = false;
    const auto restore = qScopeGuard([data, readOnly] {
        if (readOnly)
            data->ro_data = true;
    });
    return setter();
}

void Vellum::setText(const QString &key, const QString &value)
{
    withOwnMetadata([&] { QImage::setText(key, value); });
}

void Vellum::setDotsPerMeterX(int dotsPerMeter)
{
    withOwnMetadata([&] { QImage::setDotsPerMeterX(dotsPerMeter); });
}

void Vellum::setDotsPerMeterY(int dotsPerMeter)
{
    withOwnMetadata([&] { QImage::setDotsPerMeterY(dotsPerMeter); });
}

void Vellum::setDevicePixelRatio(qreal ratio)
{
    withOwnMetadata([&] { QImage::setDevicePixelRatio(ratio); });
}

void Vellum::setColorTable(const QVector<QRgb> &colors)
{
    withOwnMetadata([&] { QImage::setColorTable(colors); });
}

void Vellum::setColor(int index, QRgb color)
{
    withOwnMetadata([&] { QImage::setColor(index, color); });
}

void Vellum::setColorCount(int count)
{
    withOwnMetadata([&] { QImage::setColorCount(count); });
}

void Vellum::setColorSpace(const QColorSpace &colorSpace)
{
    withOwnMetadata([&] { QImage::setColorSpace(colorSpace); });
}

void Vellum::setOffset(const QPoint &offset)
{
    withOwnMetadata([&] { QImage::setOffset(offset); });
}

bool Vellum::reinterpretAsFormat(QImage::Format format)
{
    return withOwnMetadata([&] { return QImage::reinterpretAsFormat(format); });
}
