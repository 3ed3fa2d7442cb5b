#include <vellum/io/encoding_p.h>
#include <vellum/io/pages.h>
#include <vellum/io/picturefile.h>
#include <vellum/io/savepictures_p.h>

#include <utility>

namespace vellum {

namespace {

/// What is left of \a limits beside \a image.
Limits without(Limits limits, const Vellum &image)
{
    if (limits.memory != Limits::kNone)
        limits.memory -= pixelBytes(image.size(), image.format());
    if (limits.pixels != Limits::kNone)
        limits.pixels -= qint64(image.width()) * image.height();
    return limits;
}

QVector<const Vellum *> imagesOf(const PageChain &pages)
{
    QVector<const Vellum *> images;
    for (int i = 0; i < pages.count(); ++i)
        images.append(&pages.page(i));
    return images;
}

SaveResult noPages()
{
    return io::saveFailure(FileStatus::NotAPicture, QStringLiteral("there are no pages"));
}

} // namespace

PageChain::PageChain() = default;
PageChain::~PageChain() = default;
PageChain::PageChain(PageChain &&other) noexcept = default;
PageChain &PageChain::operator=(PageChain &&other) noexcept = default;

Vellum &PageChain::append(const Vellum &image)
{
    m_pages.push_back(std::make_unique<Vellum>(image));
    if (m_pages.size() > 1)
        m_pages[m_pages.size() - 2]->setNextImage(m_pages.back().get());
    return *m_pages.back();
}

OpenResult openPages(PageChain &pages, const QString &file, const OpenOptions &options)
{
    PictureFile picture(file);
    OpenResult result = picture.result();
    const int count = picture.info().pages;
    const int first = qBound(0, options.page, count);
    const int readOptions = pages.isEmpty() ? 0 : int(pages.head()->getReadOptions());
    OpenOptions pageOptions = options;
    pageOptions.limits = options.limits.value_or(defaultLimits());
    PageChain read;
    for (int page = first; result && (page == first || page < count); ++page) {
        pageOptions.page = page;
        if (options.progress) {
            pageOptions.progress = [&](int percent) {
                return options.progress(((page - first) * 100 + percent) / qMax(1, count - first));
            };
        }
        Vellum &image = read.append(Vellum());
        image.setReadOptions(readOptions);
        const PixelColors colors = result.colors;
        result = picture.read(image, pageOptions);
        if (colors == PixelColors::FileOwn)
            result.colors = colors;
        pageOptions.limits = without(*pageOptions.limits, image);
    }
    const bool damaged = result.status == FileStatus::Damaged && options.keepDamaged;
    if (result || (damaged && !read.isEmpty() && !read.page(read.count() - 1).isNull()))
        pages = std::move(read);
    return result;
}

SaveResult savePages(const PageChain &pages, const QString &file, const SaveOptions &options)
{
    return pages.isEmpty() ? noPages() : io::savePictures(imagesOf(pages), file, options);
}

SaveResult savePages(const PageChain &pages, QIODevice &device, const SaveOptions &options)
{
    return pages.isEmpty() ? noPages() : io::writePictures(imagesOf(pages), device, options);
}

} // namespace vellum
