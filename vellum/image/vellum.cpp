#include <vellum/color/owners_p.h>
#include <vellum/image/imagedata_p.h>
#include <vellum/image/rowstore_p.h>
#include <vellum/image/vellum.h>

#include <utility>

using vellum::image::releaseData;
using vellum::image::shareData;

// The row store is an incomplete type in the header: its holders are made and destroyed here.
Vellum::Vellum() = default;

Vellum::Vellum(const Vellum &other) : QImage() // NOLINT(*-init): the assignment shares the base
{
    *this = other;
}

Vellum::Vellum(const QImage &image) : QImage(image) { }

Vellum::Vellum(int w, int h, QImage::Format format) : QImage(w, h, format) { }

Vellum::Vellum(uchar *data, int w, int h, QImage::Format format, void (*cleanup)(void *),
               void *cleanupInfo)
    : QImage(data, w, h, format, cleanup, cleanupInfo)
{
}

Vellum::~Vellum()
{
    m_progressCallback = nullptr;
    m_progressUserData = nullptr;
    // Whether this is the last holder is decided by dropping the reference: of several that go at
    // the same time exactly one is.
    QImageData *const data = std::exchange(data_ptr(), nullptr);
    if (data && data->ref.deref())
        return;
    clear();
    delete data;
}

// Attachments are forgotten, not released: callers keep using records they got from the image.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the new reference is taken before the old
// goes
// Safe for self-assignment: the new reference is taken before the old one goes.
Vellum &Vellum::operator=(const Vellum &other) // NOLINT(bugprone-unhandled-self-assignment)
{
    QImageData *const data = shareData(other);
    releaseData(data_ptr());
    data_ptr() = data;
    m_rowBlocks = other.m_rowBlocks;
    m_orgFileCmyk = other.m_orgFileCmyk;
    m_iccProfile = other.m_iccProfile;
    m_psdLayerData = nullptr;
    m_iccReadTransform = nullptr;
    m_saveCmykTransform = nullptr;
    m_exifData = nullptr;
    return *this;
}

Vellum &Vellum::operator=(const QImage &image)
{
    m_iccReadTransform = nullptr;
    m_saveCmykTransform = nullptr;
    m_psdLayerData = nullptr;
    m_exifData = nullptr;
    QImageData *const data = shareData(image);
    // While others share the old data the store stays: callers rely on isBigImage() not changing.
    if (releaseData(data_ptr()))
        m_rowBlocks.reset();
    data_ptr() = data;
    return *this;
}

Vellum *Vellum::getVellum(QImage *image) { return dynamic_cast<Vellum *>(image); }

QImage Vellum::toImage() const { return QImage(*this); }

void Vellum::setFormat(QImage::Format format)
{
    if (QImageData *const data = QImageData::get(*this))
        data->format = format;
}

bool Vellum::isLastHolder() const
{
    const QImageData *const data = QImageData::get(*this);
    return !data || data->ref.loadAcquire() < 2;
}

void Vellum::clear()
{
    using vellum::color::Transform;
    m_rowBlocks.reset();
    Transform(std::exchange(m_iccReadTransform, nullptr)).reset();
    if (!m_prevImage) // the images after the head of a chain only borrow its transform
        Transform(std::exchange(m_saveCmykTransform, nullptr)).reset();
    setPsdLayerData(nullptr);
    if (m_exifData)
        setExifData(nullptr, 0);
    delete std::exchange(m_exifData, nullptr);
}

void Vellum::setOffset(int x, int y)
{
    m_offsetX = x;
    m_offsetY = y;
}

int Vellum::getOffsetX() const { return m_offsetX; }

int Vellum::getOffsetY() const { return m_offsetY; }

void Vellum::setPrevImage(Vellum *image)
{
    if (!image)
        return;
    m_prevImage = image;
    image->m_nextImage = this;
}

Vellum *Vellum::getPrevImage() const { return m_prevImage; }

void Vellum::setNextImage(Vellum *image)
{
    if (!image)
        return;
    m_nextImage = image;
    image->m_prevImage = this;
}

Vellum *Vellum::getNextImage() const { return m_nextImage; }

void Vellum::setReadOptions(int options) { m_readOptions = static_cast<unsigned int>(options); }

unsigned int Vellum::getReadOptions() const { return m_readOptions; }

void Vellum::setSaveAsCmyk(bool saveAsCmyk) { m_saveAsCmyk = saveAsCmyk; }

bool Vellum::getSaveAsCmyk() const { return m_saveAsCmyk; }

bool Vellum::hasSaveCmykTransform() const { return m_saveCmykTransform != nullptr; }

void Vellum::setOrgFileCmyk(bool cmyk) { m_orgFileCmyk = cmyk; }

bool Vellum::isOrgFileCmyk() const { return m_orgFileCmyk; }

void Vellum::setIccProfile(const QByteArray &profile) { m_iccProfile = profile; }

QByteArray Vellum::getIccProfile() const { return m_iccProfile; }
