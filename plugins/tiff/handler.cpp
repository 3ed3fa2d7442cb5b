#include "tiff/handler.h"

#include "shared/device.h"
#include "tiff/decoder.h"
#include "tiff/encoder.h"
#include <vellum/vellum.h>

#include <algorithm>

namespace vellum::plugin::tiff {

/// Where the file is: a TIFF is read from all over it, more than once.
struct TiffHandler::Input
{
    QIODevice *given;
    std::unique_ptr<QIODevice> copy; ///< of a device that cannot seek
    qint64 start;

    QIODevice &device() const { return copy ? *copy : *given; }
};

bool isTiff(QIODevice &device)
{
    const auto goesOnWith = [&](const char *magic) { return startsWith(device, {magic, 4}); };
    return goesOnWith("II*\0") || goesOnWith("MM\0*") || goesOnWith("II+\0") || goesOnWith("MM\0+");
}

TiffHandler::TiffHandler() : ImageHandler(lcTiff(), {CompressionRatio, Description, SubType}) { }

TiffHandler::~TiffHandler() = default;

/// Null when the device gives more than can be kept.
TiffHandler::Input *TiffHandler::input(QIODevice &device) const
{
    if (m_input && m_input->given == &device)
        return m_input.get();
    m_input.reset();
    m_pages = -1;
    std::unique_ptr<QIODevice> copy;
    if (device.isSequential()) {
        copy = buffered(device);
        if (!copy)
            return nullptr;
    }
    const qint64 start = copy ? 0 : device.pos();
    m_input.reset(new Input {&device, std::move(copy), start});
    return m_input.get();
}

bool TiffHandler::recognises(QIODevice &device) const
{
    if (!m_input || m_input->given != &device)
        return isTiff(device);
    return m_input->copy || (device.seek(m_input->start) && isTiff(device));
}

std::unique_ptr<Decoder> TiffHandler::makeDecoder(QIODevice &device) const
{
    Input *const from = input(device);
    if (!from)
        return nullptr;
    return std::make_unique<TiffDecoder>(from->device(), from->start, m_page);
}

int TiffHandler::imageCount() const
{
    if (m_pages >= 0)
        return m_pages;
    if (!device() || !device()->isReadable() || !recognises(*device()))
        return 0;
    const Input *const from = input(*device());
    const Handle handle = from ? openToRead(from->device(), from->start) : nullptr;
    m_pages = handle ? int(TIFFNumberOfDirectories(handle.get())) : 0;
    return m_pages;
}

int TiffHandler::currentImageNumber() const { return m_page; }

bool TiffHandler::jumpToImage(int number)
{
    if (number < 0 || number >= imageCount())
        return false;
    m_page = number;
    forgetHeader();
    return true;
}

bool TiffHandler::jumpToNextImage() { return jumpToImage(m_page + 1); }

QVector<const QImage *> TiffHandler::pagesOf(const QImage &image) const
{
    QVector<const QImage *> pages {&image};
    const Vellum *page = Vellum::getVellum(const_cast<QImage *>(&image));
    if (!page || page->getPrevImage())
        return pages;
    while ((page = page->getNextImage()) && !pages.contains(page)) // a chain may be a ring
        pages.append(page);
    return pages;
}

std::unique_ptr<Encoder> TiffHandler::makeEncoder(QIODevice &device,
                                                  const WriteOptions &options) const
{
    return std::make_unique<TiffEncoder>(device, writeForm(options));
}

} // namespace vellum::plugin::tiff
